#include "support/NginxServer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <stdexcept>
#include <thread>

#include "support/SampleData.h"

namespace Testing {
namespace {

constexpr const char* kProgram = "/usr/sbin/nginx";

sockaddr_in localAddress(std::uint16_t port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

/// A port that nobody uses now.
std::uint16_t freePort() {
  const int listener = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address = localAddress(0);
  socklen_t size = sizeof address;
  const bool bound = bind(listener, reinterpret_cast<const sockaddr*>(&address), size) == 0 &&
                     getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size) == 0;
  close(listener);
  if (!bound) throw std::runtime_error("no free port");
  return ntohs(address.sin_port);
}

bool answers(std::uint16_t port) {
  const int client = socket(AF_INET, SOCK_STREAM, 0);
  const sockaddr_in address = localAddress(port);
  const bool connected = connect(client, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
  close(client);
  return connected;
}

}  // namespace

bool NginxServer::isInstalled() { return access(kProgram, X_OK) == 0; }

NginxServer::NginxServer(const TestAuthority& authority, const std::filesystem::path& root) {
  // Somebody else may take the port before nginx does.
  for (int tries = 0; tries < 5; ++tries) {
    if (start(authority, root)) return;
  }
  throw std::runtime_error("nginx does not start: " + readFile(folder_.path() / "error.log"));
}

bool NginxServer::start(const TestAuthority& authority, const std::filesystem::path& root) {
  port_ = freePort();
  const std::string folder = folder_.path().string();
  const std::string certificate = (authority.folder() / "good.pem").string();
  std::string temporaryPaths;
  for (const char* kind : {"client_body", "proxy", "fastcgi", "uwsgi", "scgi"})
    temporaryPaths += "  " + std::string(kind) + "_temp_path " + folder + "/temporary;\n";
  const std::filesystem::path configuration = folder_.write(
      "nginx.conf", "daemon off; master_process off; pid " + folder + "/pid; error_log " + folder +
                        "/error.log;\n" + "events { worker_connections 64; }\nhttp {\n" + temporaryPaths +
                        "  log_format short '$server_protocol $status';\n  access_log " + folder +
                        "/access.log short;\n" + "  server {\n    listen 127.0.0.1:" + std::to_string(port_) +
                        " ssl http2;\n    ssl_certificate " + certificate + ";\n    ssl_certificate_key " +
                        certificate + ";\n    keepalive_requests 5;\n    root " + root.string() +
                        ";\n  }\n}\n");
  process_ = std::make_unique<Process>(
      std::vector<std::string>{kProgram, "-c", configuration.string(), "-e", folder + "/error.log"});
  const auto giveUp = std::chrono::steady_clock::now() + std::chrono::seconds(30);
  while (!process_->hasEnded() && std::chrono::steady_clock::now() < giveUp) {
    if (answers(port_)) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return false;
}

std::string NginxServer::url(const std::string& path) const {
  return "https://127.0.0.1:" + std::to_string(port_) + '/' + path;
}

std::string NginxServer::log() const { return readFile(folder_.path() / "access.log"); }

}  // namespace Testing
