#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "core/http/HttpClientAuthentication.h"
#include "core/http/HttpHeaders.h"

namespace Core {

/// One GET as it goes over the line.
struct Transfer {
  std::string url;      ///< with credentials and query
  std::string range{};  ///< "0-99"; empty: the whole file
  std::string ifRange{};
  std::shared_ptr<const HttpClientAuthentication> authentication{};  ///< may be empty
  std::chrono::milliseconds connectTimeout{0};
};

/// How a transfer ended, when it was not ended from here.
enum class TransferEnd {
  Complete,
  Unresolved,  ///< the host's name leads nowhere
  Broken,      ///< no connection, or one that broke: may pass
  Failed,      ///< certificates and whatever else does not pass
};

/// Who follows a transfer. Called by CurlMulti::perform alone.
class TransferSink {
 public:
  virtual ~TransferSink() = default;
  /// The head of an answer is complete. False cuts the transfer off; ended() then comes with Broken.
  virtual bool head(const HttpHead& head) = 0;
  /// More of the body; false as above.
  virtual bool body(std::span<const char> bytes) = 0;
  /// The last call, except after CurlMulti::cancel.
  virtual void ended(TransferEnd end, const std::string& reason) = 0;
};

/// libcurl's multi interface: transfers over a pool of connections to one server, HTTP/2 where the server
/// offers it, certificates verified against libcurl's and OpenSSL's default places.
/// Threads: wake() may be called by any; all other calls belong to one thread.
class CurlMulti {
 public:
  using Id = std::size_t;

  explicit CurlMulti(unsigned connections);
  ~CurlMulti();
  CurlMulti(const CurlMulti&) = delete;
  CurlMulti& operator=(const CurlMulti&) = delete;

  /// Begins a transfer; @p sink must live until it has ended or is cancelled.
  Id start(const Transfer& transfer, TransferSink& sink);
  void cancel(Id id);

  /// Waits for bytes, for wake() or for @p longest, and lets the sinks know what has come.
  void perform(std::chrono::milliseconds longest);
  void wake();

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace Core
