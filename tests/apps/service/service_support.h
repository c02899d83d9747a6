// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <httplib.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "apps/dataset/dataset.h"
#include "apps/dataset/dataset_writer.h"
#include "apps/service/panorama_service.h"

namespace pelorin {
namespace service_test {

/// The id of the `number`-th panorama of a test.
inline std::string TestId(int number) {
  return PanoIdFromSeed("service test " + std::to_string(number));
}

/// A plain record at a place.
inline PanoRecord MakeRecord(int number, double lat_deg, double lng_deg) {
  PanoRecord record;
  record.id = TestId(number);
  record.place = {lat_deg, lng_deg};
  return record;
}

inline std::unique_ptr<Dataset> MakeDataset(const std::vector<PanoRecord>& records) {
  std::string error;
  const std::unique_ptr<DatasetWriter> writer = DatasetWriter::InMemory(&error);
  if (writer == nullptr)
    throw std::runtime_error(error);
  for (const PanoRecord& record : records) {
    if (!writer->Add(record, &error))
      throw std::runtime_error(error);
  }
  DatasetInfo info;
  info.name = "Test Town";
  std::unique_ptr<Dataset> dataset = writer->Finish(info, &error);
  if (dataset == nullptr)
    throw std::runtime_error(error);
  return dataset;
}

inline std::unique_ptr<PanoramaService> StartService(const Dataset& dataset,
                                                     const ServiceOptions& options = {}) {
  std::string error;
  std::unique_ptr<PanoramaService> service = PanoramaService::Start(dataset, options, &error);
  if (service == nullptr)
    throw std::runtime_error(error);
  return service;
}

inline httplib::Client MakeClient(const PanoramaService& service) {
  httplib::Client client("127.0.0.1", service.port());
  client.set_read_timeout(std::chrono::seconds(20));
  return client;
}

/// Waits until `done`; false after 20 seconds.
inline bool Eventually(const std::function<bool()>& done) {
  for (int i = 0; i < 20000; ++i) {
    if (done())
      return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return false;
}

/// A connection without an HTTP library, to send what none would send.
class RawConnection {
 public:
  explicit RawConnection(int port) : socket_(::socket(AF_INET, SOCK_STREAM, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    connected_ =
        ::connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
  }
  ~RawConnection() { Close(); }
  RawConnection(const RawConnection&) = delete;
  RawConnection& operator=(const RawConnection&) = delete;

  bool connected() const { return connected_; }
  void Close() {
    if (socket_ >= 0)
      ::close(socket_);
    socket_ = -1;
  }
  /// False once the peer takes no more.
  bool Send(const std::string& text) {
    std::size_t sent = 0;
    while (sent < text.size()) {
      const ssize_t count = ::send(socket_, text.data() + sent, text.size() - sent, MSG_NOSIGNAL);
      if (count <= 0)
        return false;
      sent += static_cast<std::size_t>(count);
    }
    return true;
  }
  /// What comes until `part` has come, the peer closes, or nothing comes for `silence`.
  std::string ReadUntil(const std::string& part,
                        std::chrono::milliseconds silence = std::chrono::seconds(20)) {
    std::string text;
    char buffer[4096];
    while (part.empty() || text.find(part) == std::string::npos) {
      pollfd entry{socket_, POLLIN, 0};
      if (::poll(&entry, 1, static_cast<int>(silence.count())) <= 0)
        break;
      const ssize_t count = ::recv(socket_, buffer, sizeof buffer, 0);
      if (count <= 0) {
        closed_by_peer_ = true;
        break;
      }
      text.append(buffer, static_cast<std::size_t>(count));
    }
    return text;
  }
  /// Everything until the peer closes.
  std::string ReadToEnd() { return ReadUntil(std::string()); }
  bool closed_by_peer() const { return closed_by_peer_; }

 private:
  int socket_;
  bool connected_ = false;
  bool closed_by_peer_ = false;
};

}  // namespace service_test
}  // namespace pelorin
