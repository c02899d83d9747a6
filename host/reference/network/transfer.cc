// SPDX-License-Identifier: Apache-2.0
#include "transfer.h"

#include <algorithm>
#include <new>
#include <utility>

#include "counters.h"

namespace nimbara {
namespace net {
namespace {

// curl's setter takes any type and returns a code; this one remembers whether all went well.
class EasyOptions {
 public:
  explicit EasyOptions(CURL* easy) : easy_(easy) {}
  template <typename T>
  void Set(CURLoption option, T value) {
    ok_ &= curl_easy_setopt(easy_, option, value) == CURLE_OK;
  }
  bool ok() const { return ok_; }

 private:
  CURL* easy_;
  bool ok_ = true;
};

long Milliseconds(double seconds) {
  return std::max(1L, static_cast<long>(seconds * 1000.0));
}

// Refuses an announced length that cannot lead to an allowed body, and one beyond all numbers. An
// encoded body can be a little longer than what it stands for.
void SetLengthLimit(std::uint64_t max_body_bytes, EasyOptions* easy) {
  constexpr std::uint64_t kEncodingRoom = 65536;
  easy->Set(CURLOPT_MAXFILESIZE_LARGE,
            static_cast<curl_off_t>(max_body_bytes + max_body_bytes / 8 + kEncodingRoom));
}

// `start` is in lower case; letters of `line` count as such.
bool StartsWith(std::string_view line, std::string_view start) {
  return line.size() >= start.size() &&
         std::equal(start.begin(), start.end(), line.begin(),
                    [](char a, char b) { return a == (b >= 'A' && b <= 'Z' ? b - 'A' + 'a' : b); });
}

const char* NullIfEmpty(const QByteArray& text) {
  return text.isEmpty() ? nullptr : text.constData();
}

}  // namespace

Transfer::Transfer() : easy_(curl_easy_init()), prepared_(easy_ != nullptr && Prepare()) {}

// What all requests have in common is set once: setting it anew for each would cost as much as all
// the rest that this layer does.
bool Transfer::Prepare() {
  EasyOptions easy(easy_.get());
  easy.Set(CURLOPT_PROTOCOLS_STR, "http,https");
  easy.Set(CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
  easy.Set(CURLOPT_FOLLOWLOCATION, 1L);
  easy.Set(CURLOPT_ACCEPT_ENCODING, "");  // Every encoding that curl can undo.
  easy.Set(CURLOPT_NOSIGNAL, 1L);
  // Or giving up a request whose name is being looked up would stop the thread, and all other
  // requests, until the look-up has ended.
  easy.Set(CURLOPT_QUICK_EXIT, 1L);
  easy.Set(CURLOPT_PRIVATE, this);
  easy.Set(CURLOPT_WRITEFUNCTION, &Transfer::OnBody);
  easy.Set(CURLOPT_WRITEDATA, this);
  easy.Set(CURLOPT_HEADERFUNCTION, &Transfer::OnHeader);
  easy.Set(CURLOPT_HEADERDATA, this);
  return easy.ok();
}

bool Transfer::Begin(RefPtr<CurlFetcher> fetcher) {
  fetcher_ = std::move(fetcher);
  const Request& request = fetcher_->request();
  if (!prepared_ || !UseOptions(request.options)) {
    return false;
  }
  EasyOptions easy(easy_.get());
  easy.Set(CURLOPT_URL, request.url.constData());
  // Null: the environment's. One in between would look for the server under its own name.
  const bool direct = request.this_machine || !request.options->connect_to.isEmpty();
  easy.Set(CURLOPT_PROXY, direct ? "" : nullptr);
  easy.Set(CURLOPT_USERAGENT, request.user_agent.constData());
  easy.Set(CURLOPT_REFERER, NullIfEmpty(request.referrer));
  easy.Set(CURLOPT_HTTPHEADER, request.headers.get());
  SetLengthLimit(request.max_body_bytes, &easy);
  return easy.ok();
}

bool Transfer::UseOptions(const std::shared_ptr<const NetworkOptions>& options) {
  if (options == options_) {
    return true;
  }
  EasyOptions easy(easy_.get());
  easy.Set(CURLOPT_MAXREDIRS, static_cast<long>(options->max_redirects));
  easy.Set(CURLOPT_CONNECTTIMEOUT_MS, Milliseconds(options->connect_timeout_s));
  easy.Set(CURLOPT_TIMEOUT_MS, Milliseconds(options->total_timeout_s));
  easy.Set(CURLOPT_LOW_SPEED_LIMIT, 1L);
  easy.Set(CURLOPT_LOW_SPEED_TIME, static_cast<long>(options->stall_timeout_s));
  if (!SetConnectTo(options->connect_to)) {
    return false;
  }
  options_ = easy.ok() ? options : nullptr;
  return easy.ok();
}

// The handle refers to the list, which therefore stays until the next one is set.
bool Transfer::SetConnectTo(const QStringList& entries) {
  std::unique_ptr<curl_slist, HeaderListDeleter> list;
  for (const QString& entry : entries) {
    curl_slist* longer = curl_slist_append(list.get(), entry.toUtf8().constData());
    if (longer == nullptr) {
      return false;
    }
    list.release();
    list.reset(longer);
  }
  if (curl_easy_setopt(easy_.get(), CURLOPT_CONNECT_TO, list.get()) != CURLE_OK) {
    return false;
  }
  connect_to_ = std::move(list);
  return true;
}

RefPtr<CurlFetcher> Transfer::End() {
  body_ = QByteArray();
  header_bytes_ = 0;
  too_large_ = false;
  asks_for_delay_ = false;
  if (easy_ != nullptr) {
    curl_easy_setopt(easy_.get(), CURLOPT_HTTPHEADER, nullptr);  // The list dies with the request.
  }
  return std::move(fetcher_);
}

std::size_t Transfer::OnBody(char* bytes, std::size_t, std::size_t size, void* transfer) {
  return static_cast<Transfer*>(transfer)->TakeBody(bytes, size) ? size : CURL_WRITEFUNC_ERROR;
}

std::size_t Transfer::OnHeader(char* bytes, std::size_t, std::size_t size, void* transfer) {
  auto* self = static_cast<Transfer*>(transfer);
  self->NoteHeader(std::string_view(bytes, size));
  self->header_bytes_ += size;
  self->too_large_ |= self->header_bytes_ > self->fetcher_->request().options->max_header_bytes;
  return self->too_large_ ? CURL_WRITEFUNC_ERROR : size;
}

// curl keeps what a redirect asked for until another answer of the same transfer asks again.
void Transfer::NoteHeader(std::string_view line) {
  if (StartsWith(line, "http/")) {
    asks_for_delay_ = false;
  } else if (StartsWith(line, "retry-after:")) {
    asks_for_delay_ = true;
  }
}

bool Transfer::TakeBody(const char* bytes, std::size_t size) {
  const std::uint64_t room =
      fetcher_->request().max_body_bytes - static_cast<std::uint64_t>(body_.size());
  too_large_ |= size > room;
  if (too_large_) {
    return false;
  }
  try {
    body_.append(bytes, static_cast<int>(size));  // `room` is below the range of int.
  } catch (const std::bad_alloc&) {
    too_large_ = true;  // No exception may pass through curl.
    return false;
  }
  Count(g_counters.bytes_received, size);
  return true;
}

int Transfer::Status(CURLcode code) const {
  if (code != CURLE_OK) {
    return FailureStatus(code);
  }
  long answer = 0;
  curl_easy_getinfo(easy_.get(), CURLINFO_RESPONSE_CODE, &answer);
  if (answer < 100) {
    return Fetcher::kBrokenAnswer;  // No code of the protocol: it must not pass for one of ours.
  }
  return answer >= 200 && answer <= 299 ? Fetcher::kSucceeded : static_cast<int>(answer);
}

int Transfer::FailureStatus(CURLcode code) const {
  if (too_large_) {
    return Fetcher::kTooLarge;
  }
  switch (code) {
  case CURLE_FILESIZE_EXCEEDED:
    return Fetcher::kTooLarge;
  // These can come behind a redirect, when another connection stood before.
  case CURLE_COULDNT_RESOLVE_HOST:
  case CURLE_COULDNT_CONNECT:
  case CURLE_SSL_CONNECT_ERROR:
  case CURLE_PEER_FAILED_VERIFICATION:
    return Fetcher::kConnectionFailed;
  case CURLE_OPERATION_TIMEDOUT:
    return WasConnected() ? Fetcher::kTimedOut : Fetcher::kConnectionFailed;
  default:
    return WasConnected() ? Fetcher::kBrokenAnswer : Fetcher::kConnectionFailed;
  }
}

// Whether the request could go out at all, over a new connection or one used again.
bool Transfer::WasConnected() const {
  curl_off_t connected_us = 0;
  curl_easy_getinfo(easy_.get(), CURLINFO_PRETRANSFER_TIME_T, &connected_us);
  return connected_us > 0;
}

double Transfer::RetryAfterSeconds() const {
  if (!asks_for_delay_) {
    return 0.0;
  }
  curl_off_t seconds = 0;
  curl_easy_getinfo(easy_.get(), CURLINFO_RETRY_AFTER, &seconds);
  return static_cast<double>(seconds);
}

std::uint64_t Transfer::ConnectionsOpened() const {
  long connections = 0;
  curl_easy_getinfo(easy_.get(), CURLINFO_NUM_CONNECTS, &connections);
  return connections > 0 ? static_cast<std::uint64_t>(connections) : 0;
}

}  // namespace net
}  // namespace nimbara
