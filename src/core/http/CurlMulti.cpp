#include "core/http/CurlMulti.h"

#include <curl/curl.h>
#include <openssl/ssl.h>
#include <openssl/x509.h>

#include <cstdlib>
#include <map>
#include <new>
#include <stdexcept>

namespace Core {
namespace {

/// libcurl's own count of who uses it.
class CurlLibrary {
 public:
  CurlLibrary() {
    if (curl_global_init(CURL_GLOBAL_DEFAULT) != CURLE_OK) throw std::runtime_error("libcurl does not start");
  }
  ~CurlLibrary() { curl_global_cleanup(); }
  CurlLibrary(const CurlLibrary&) = delete;
  CurlLibrary& operator=(const CurlLibrary&) = delete;
};

struct MultiDeleter {
  void operator()(CURLM* multi) const { curl_multi_cleanup(multi); }
};
struct EasyDeleter {
  void operator()(CURL* easy) const { curl_easy_cleanup(easy); }
};
struct ListDeleter {
  void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};

/// A transfer under way, at a place that does not change: libcurl's callbacks know it.
struct Running {
  std::unique_ptr<CURL, EasyDeleter> easy;
  std::unique_ptr<curl_slist, ListDeleter> headers;
  TransferSink* sink = nullptr;
  CurlMulti::Id id = 0;
  HttpHead head;
  bool headGiven = false;
  char error[CURL_ERROR_SIZE] = {};
};

/// What a sink says to @p call, which may throw; nothing may be thrown through libcurl.
template <class Call>
bool goesOn(const Call& call) {
  try {
    return call();
  } catch (...) {
    return false;
  }
}

std::size_t takeHeader(char* bytes, std::size_t size, std::size_t count, void* user) {
  auto& running = *static_cast<Running*>(user);
  const std::string_view line(bytes, size * count);
  const bool good = goesOn([&] {
    if (running.headGiven) return true;  // a trailer
    running.head.addLine(line);
    const bool isLast = line == "\r\n" || line == "\n";
    if (!isLast || running.head.status < 200) return true;
    running.headGiven = true;
    return running.sink->head(running.head);
  });
  return good ? line.size() : 0;
}

std::size_t takeBody(char* bytes, std::size_t size, std::size_t count, void* user) {
  auto& running = *static_cast<Running*>(user);
  return goesOn([&] { return running.sink->body({bytes, size * count}); }) ? size * count : 0;
}

/// libcurl looks at its own certificates alone; administrators name theirs by SSL_CERT_FILE and SSL_CERT_DIR,
/// which are among OpenSSL's default places.
CURLcode trustDefaultPlaces(CURL*, void* context, void*) {
  return SSL_CTX_set_default_verify_paths(static_cast<SSL_CTX*>(context)) == 1 ? CURLE_OK
                                                                               : CURLE_SSL_CERTPROBLEM;
}

void setFixedOptions(Running& running) {
  CURL* const easy = running.easy.get();
  curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "https");
  curl_easy_setopt(easy, CURLOPT_FOLLOWLOCATION, 0L);
  curl_easy_setopt(easy, CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_2TLS));
  curl_easy_setopt(easy, CURLOPT_PIPEWAIT, 1L);
  curl_easy_setopt(easy, CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
  curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(easy, CURLOPT_QUICK_EXIT, 1L);  // a stop does not wait for a name to be resolved
  curl_easy_setopt(easy, CURLOPT_USERAGENT, "Sorvik");
  curl_easy_setopt(easy, CURLOPT_ERRORBUFFER, running.error);
  // Without libcurl's folder of certificates, which is OpenSSL's as well, libcurl keeps what it has parsed.
  curl_easy_setopt(easy, CURLOPT_CAPATH, nullptr);
  curl_easy_setopt(easy, CURLOPT_SSL_CTX_FUNCTION, trustDefaultPlaces);
  curl_easy_setopt(easy, CURLOPT_HEADERFUNCTION, takeHeader);
  curl_easy_setopt(easy, CURLOPT_HEADERDATA, &running);
  curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, takeBody);
  curl_easy_setopt(easy, CURLOPT_WRITEDATA, &running);
  curl_easy_setopt(easy, CURLOPT_PRIVATE, &running);
}

void setRange(Running& running, const Transfer& transfer) {
  CURL* const easy = running.easy.get();
  if (transfer.range.empty()) {
    curl_easy_setopt(easy, CURLOPT_ACCEPT_ENCODING, "");  // whatever libcurl can decode
    return;
  }
  const auto addHeader = [&](const std::string& line) {
    curl_slist* const longer = curl_slist_append(running.headers.get(), line.c_str());
    if (longer == nullptr) throw std::bad_alloc();
    (void)running.headers.release();  // it is part of the longer list
    running.headers.reset(longer);
  };
  curl_easy_setopt(easy, CURLOPT_RANGE, transfer.range.c_str());
  addHeader("Accept-Encoding: identity");
  if (!transfer.ifRange.empty()) addHeader("If-Range: " + transfer.ifRange);
  curl_easy_setopt(easy, CURLOPT_HTTPHEADER, running.headers.get());
}

void setCredentials(CURL* easy, const HttpClientAuthentication& credentials) {
  if (!credentials.bearerToken.empty()) {
    curl_easy_setopt(easy, CURLOPT_HTTPAUTH, CURLAUTH_BEARER);
    curl_easy_setopt(easy, CURLOPT_XOAUTH2_BEARER, credentials.bearerToken.c_str());
    return;
  }
  curl_easy_setopt(easy, CURLOPT_HTTPAUTH, CURLAUTH_BASIC);
  curl_easy_setopt(easy, CURLOPT_USERNAME, credentials.user.c_str());
  curl_easy_setopt(easy, CURLOPT_PASSWORD, credentials.password.c_str());
}

/// Where certificates were looked for, for messages.
std::string trustedPlaces(CURL* easy) {
  std::string places;
  const auto add = [&](const char* place) {
    if (place == nullptr || *place == '\0') return;
    if (!places.empty()) places += ", ";
    places += place;
  };
  for (const CURLINFO info : {CURLINFO_CAINFO, CURLINFO_CAPATH}) {
    const char* place = nullptr;
    curl_easy_getinfo(easy, info, &place);
    add(place);
  }
  for (const char* variable : {X509_get_default_cert_file_env(), X509_get_default_cert_dir_env()})
    add(std::getenv(variable));
  return places.empty() ? "nothing" : places;
}

TransferEnd endOf(CURLcode code) {
  switch (code) {
    case CURLE_OK:
      return TransferEnd::Complete;
    case CURLE_COULDNT_RESOLVE_HOST:
    case CURLE_COULDNT_RESOLVE_PROXY:
      return TransferEnd::Unresolved;
    case CURLE_COULDNT_CONNECT:
    case CURLE_OPERATION_TIMEDOUT:
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_SEND_ERROR:
    case CURLE_RECV_ERROR:
    case CURLE_GOT_NOTHING:
    case CURLE_PARTIAL_FILE:
    case CURLE_HTTP2:
    case CURLE_HTTP2_STREAM:
    case CURLE_WRITE_ERROR:  // cut off by the sink, which knows why
      return TransferEnd::Broken;
    default:
      return TransferEnd::Failed;
  }
}

std::string reasonOf(CURLcode code, const Running& running) {
  if (code == CURLE_OK) return {};
  std::string detail = running.error[0] != '\0' ? running.error : curl_easy_strerror(code);
  if (code != CURLE_PEER_FAILED_VERIFICATION) return detail;
  return detail + " (certificates are trusted from: " + trustedPlaces(running.easy.get()) + ")";
}

}  // namespace

struct CurlMulti::Impl {
  CurlLibrary library;
  std::unique_ptr<CURLM, MultiDeleter> multi{curl_multi_init()};
  std::map<Id, std::unique_ptr<Running>> running;
  Id nextId = 0;

  std::unique_ptr<Running> remove(std::map<Id, std::unique_ptr<Running>>::iterator place) {
    std::unique_ptr<Running> removed = std::move(place->second);
    running.erase(place);
    curl_multi_remove_handle(multi.get(), removed->easy.get());
    return removed;
  }
};

CurlMulti::CurlMulti(unsigned connections) : impl_(std::make_unique<Impl>()) {
  CURLM* const multi = impl_->multi.get();
  if (multi == nullptr) throw std::bad_alloc();
  curl_multi_setopt(multi, CURLMOPT_PIPELINING, static_cast<long>(CURLPIPE_MULTIPLEX));
  curl_multi_setopt(multi, CURLMOPT_MAX_HOST_CONNECTIONS, static_cast<long>(connections));
  curl_multi_setopt(multi, CURLMOPT_MAXCONNECTS, static_cast<long>(connections));
}

CurlMulti::~CurlMulti() {
  while (!impl_->running.empty()) impl_->remove(impl_->running.begin());
}

CurlMulti::Id CurlMulti::start(const Transfer& transfer, TransferSink& sink) {
  auto running = std::make_unique<Running>();
  running->easy.reset(curl_easy_init());
  if (!running->easy) throw std::bad_alloc();
  running->sink = &sink;
  running->id = impl_->nextId++;
  CURL* const easy = running->easy.get();
  setFixedOptions(*running);
  curl_easy_setopt(easy, CURLOPT_URL, transfer.url.c_str());
  curl_easy_setopt(easy, CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(transfer.connectTimeout.count()));
  setRange(*running, transfer);
  if (transfer.authentication) setCredentials(easy, *transfer.authentication);
  const Id id = running->id;
  if (curl_multi_add_handle(impl_->multi.get(), easy) != CURLM_OK) throw std::bad_alloc();
  impl_->running.emplace(id, std::move(running));
  return id;
}

void CurlMulti::cancel(Id id) {
  const auto place = impl_->running.find(id);
  if (place != impl_->running.end()) impl_->remove(place);
}

void CurlMulti::perform(std::chrono::milliseconds longest) {
  CURLM* const multi = impl_->multi.get();
  curl_multi_poll(multi, nullptr, 0, static_cast<int>(longest.count()), nullptr);
  int active = 0;
  curl_multi_perform(multi, &active);
  int left = 0;
  while (const CURLMsg* const message = curl_multi_info_read(multi, &left)) {
    if (message->msg != CURLMSG_DONE) continue;
    const CURLcode code = message->data.result;
    char* user = nullptr;
    curl_easy_getinfo(message->easy_handle, CURLINFO_PRIVATE, &user);
    const Id id = static_cast<Running*>(static_cast<void*>(user))->id;
    const std::unique_ptr<Running> ended = impl_->remove(impl_->running.find(id));
    ended->sink->ended(endOf(code), reasonOf(code, *ended));
  }
}

void CurlMulti::wake() { curl_multi_wakeup(impl_->multi.get()); }

}  // namespace Core
