// SPDX-License-Identifier: Apache-2.0
// Loads and unloads the reference host while its requests run, and ends processes under them. This
// program does not link the host: only the plugin that it loads does.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <thread>

#include "tests/support/loopback_server.h"

namespace nimbara {
namespace {

using testing_support::LoopbackServer;

class Plugin {
 public:
  Plugin() : handle_(dlopen(NETWORK_PLUGIN, RTLD_NOW | RTLD_LOCAL)) {
    EXPECT_NE(handle_, nullptr) << dlerror();
  }
  ~Plugin() { dlclose(handle_); }
  Plugin(const Plugin&) = delete;
  Plugin& operator=(const Plugin&) = delete;

  template <typename Function>
  Function* Find(const char* name) const {
    return reinterpret_cast<Function*>(dlsym(handle_, name));
  }
  void Start(const std::string& url, int count, bool awaited) const {
    Find<void(const char*, int, int)>("PluginStart")(url.c_str(), count, awaited ? 1 : 0);
  }
  int Completed() const { return Find<int()>("PluginCompleted")(); }
  void ShutDown() const { Find<void()>("PluginShutDown")(); }
  void SetLinger(double seconds) const { Find<void(double)>("PluginSetLinger")(seconds); }

 private:
  void* handle_;
};

bool HostIsMapped() {
  void* host = dlopen(NETWORK_HOST, RTLD_NOW | RTLD_NOLOAD);
  if (host != nullptr) {
    dlclose(host);
  }
  return host != nullptr;
}

void ServeSome(const LoopbackServer::Request& request, LoopbackServer::Answer& answer) {
  if (request.target == "/stall") {
    answer.Stall();
  } else {
    answer.Reply(200, "ok");
  }
}

// A deadlock ends the program instead of the machine's patience.
constexpr unsigned kWatchdogS = 120;

class NetworkUnload : public ::testing::Test {
 protected:
  void SetUp() override { alarm(kWatchdogS); }
  void TearDown() override {
    {
      const Plugin plugin;
      plugin.ShutDown();
    }
    // An idle thread that ends by itself is not waited for; the next unloading finds it gone.
    for (int i = 0; i < 1000 && HostIsMapped(); ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    EXPECT_FALSE(HostIsMapped());
    alarm(0);
  }
  LoopbackServer server{&ServeSome};
};

TEST_F(NetworkUnload, TakesTheHostOutOfMemoryOnceItIsShutDown) {
  for (int i = 0; i < 20; ++i) {
    {
      const Plugin plugin;
      plugin.Start(server.Url("/stall"), 3, true);
      plugin.Start(server.Url("/ok"), 3, false);
      plugin.ShutDown();
    }
    ASSERT_FALSE(HostIsMapped()) << i;
  }
}

TEST_F(NetworkUnload, WithAwaitedRequestsUnderWayCancelsThemUnderTheLoadersLock) {
  for (int i = 0; i < 100; ++i) {
    const Plugin plugin;
    plugin.Start(server.Url("/stall"), 2, true);
    plugin.Start(server.Url("/ok"), 4, true);
  }
}

TEST_F(NetworkUnload, LeavesRequestsThatNobodyAwaitsToTheirEnd) {
  for (int i = 0; i < 100; ++i) {
    const Plugin plugin;
    plugin.Start(server.Url("/report"), 4, false);
  }
  EXPECT_TRUE(server.AwaitRequests(400));
}

TEST_F(NetworkUnload, MeetsTheThreadInEveryStageOfItsLife) {
  for (int i = 0; i < 200; ++i) {
    const Plugin plugin;
    plugin.SetLinger(0.0);
    plugin.Start(server.Url("/ok"), 1, i % 2 == 0);
    if (i % 4 < 2) {
      std::this_thread::sleep_for(std::chrono::microseconds(i * 10));
    }
  }
}

TEST_F(NetworkUnload, DuringANameLookUpLeavesNoThreadInUnmappedCode) {
  for (int i = 0; i < 20; ++i) {
    const Plugin plugin;
    plugin.Start("http://host-" + std::to_string(i) + ".invalid/", 2, true);
    plugin.ShutDown();
  }
}

TEST_F(NetworkUnload, OnOneThreadDoesNotDisturbRequestsStartedOnAnother) {
  const Plugin stays;
  std::thread loader([] {
    for (int i = 0; i < 50; ++i) {
      const Plugin comes_and_goes;
    }
  });
  const int before = stays.Completed();
  stays.Start(server.Url("/ok"), 100, true);
  loader.join();
  while (stays.Completed() < before + 100) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
}

TEST_F(NetworkUnload, MayFollowARequestThatAStaticInitialiserStarted) {
  setenv("NETWORK_PLUGIN_START_AT_LOAD", server.Url("/ok").c_str(), 1);
  for (int i = 0; i < 20; ++i) {
    const Plugin plugin;
    while (plugin.Completed() == 0) {
      std::this_thread::sleep_for(std::chrono::microseconds(100));
    }
  }
  unsetenv("NETWORK_PLUGIN_START_AT_LOAD");
}

class ProcessEnd : public ::testing::Test {
 protected:
  // The child is this program run anew: a forked copy of a threaded one could not go on.
  void SetUp() override { ::testing::GTEST_FLAG(death_test_style) = "threadsafe"; }
};

// In the child: a server and a plugin that are still at work when the process ends. The server is
// ended behind the network layer, being made before it.
const Plugin& AtWork(LoopbackServer** server) {
  alarm(kWatchdogS);
  static LoopbackServer last_to_go(&ServeSome);
  *server = &last_to_go;
  static auto* const plugin = new Plugin();
  plugin->Start((*server)->Url("/stall"), 2, true);
  plugin->Start((*server)->Url("/stall"), 2, false);
  plugin->Start("http://host.invalid/", 1, false);
  return *plugin;
}

TEST_F(ProcessEnd, WithRequestsUnderWayIsInOrder) {
  EXPECT_EXIT(
      {
        LoopbackServer* server = nullptr;
        AtWork(&server);
        server->AwaitRequests(4);
        std::exit(7);
      },
      ::testing::ExitedWithCode(7), "");
}

TEST_F(ProcessEnd, RightBehindTheFirstRequestIsInOrder) {
  EXPECT_EXIT(
      {
        LoopbackServer* server = nullptr;
        AtWork(&server);
        std::exit(7);
      },
      ::testing::ExitedWithCode(7), "");
}

TEST_F(ProcessEnd, BehindTheUnloadingOfTheHostIsInOrder) {
  EXPECT_EXIT(
      {
        LoopbackServer* server = nullptr;
        delete &AtWork(&server);
        std::exit(7);
      },
      ::testing::ExitedWithCode(7), "");
}

TEST_F(ProcessEnd, MayComeFromACompletion) {
  EXPECT_EXIT(
      {
        LoopbackServer* server = nullptr;
        AtWork(&server).Find<void(const char*, long)>("PluginExitFromCompletion")(
            server->Url("/ok").c_str(), 7);
        for (;;) {
          pause();
        }
      },
      ::testing::ExitedWithCode(7), "");
}

TEST_F(ProcessEnd, DoesNotWaitForeverForACompletionThatHangs) {
  EXPECT_EXIT(
      {
        LoopbackServer* server = nullptr;
        AtWork(&server).Find<void(const char*)>("PluginHangInCompletion")(
            server->Url("/ok").c_str());
        std::exit(7);
      },
      ::testing::ExitedWithCode(7), "");
}

}  // namespace
}  // namespace nimbara
