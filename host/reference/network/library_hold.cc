// SPDX-License-Identifier: Apache-2.0
#include "library_hold.h"

#include <curl/curl.h>
#include <dlfcn.h>
#include <link.h>

namespace nimbara {
namespace net {
namespace {

// The loader leaves a library mapped while a thread still has destructors of it to run, and runs
// them behind the last line of the thread's own code.
struct ThreadEnd {
  ~ThreadEnd() { reached = true; }
  volatile bool reached = false;  // Keeps a compiler from dropping the destructor.
};
thread_local ThreadEnd t_thread_end;

void* OpenMapped(const void* address, int flags) {
  Dl_info info;
  link_map* map = nullptr;
  void* extra = nullptr;
  if (dladdr1(address, &info, &extra, RTLD_DL_LINKMAP) == 0) {
    return nullptr;
  }
  map = static_cast<link_map*>(extra);
  const bool is_program = map == nullptr || map->l_name == nullptr || map->l_name[0] == '\0';
  return is_program ? nullptr : dlopen(map->l_name, RTLD_LAZY | RTLD_NOLOAD | flags);
}

void CloseMapped(void* handle) {
  if (handle != nullptr) {
    dlclose(handle);
  }
}

}  // namespace

LibraryHold::LibraryHold() : handle_(OpenMapped(reinterpret_cast<void*>(&KeepCurlMapped), 0)) {}

LibraryHold::~LibraryHold() {
  CloseMapped(handle_);
}

void LibraryHold::EndWithThread() {
  t_thread_end.reached = false;  // The first use on a thread puts its destructor on the list.
  CloseMapped(handle_);
  handle_ = nullptr;
}

void KeepCurlMapped() {
  CloseMapped(OpenMapped(reinterpret_cast<void*>(&curl_multi_init), RTLD_NODELETE));
}

}  // namespace net
}  // namespace nimbara
