#include "support/HttpsServer.h"

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>

#include "support/SampleData.h"

namespace Testing {

TestAuthority::TestAuthority() {
  const std::string script = std::string(SORVIK_TEST_SUPPORT) + "/certificates.sh";
  const ProcessResult made = runProcess({"/bin/sh", script, folder().string()});
  if (made.status != 0) throw std::runtime_error("cannot make certificates: " + made.err);
  setenv("SSL_CERT_FILE", (folder() / "authority.crt").c_str(), 1);
  setenv("no_proxy", "127.0.0.1,localhost", 1);
}

HttpsServer::HttpsServer(const TestAuthority& authority, const std::filesystem::path& root,
                         const Setup& setup) {
  const std::filesystem::path ports = folder_.path() / "ports";
  const std::vector<std::string> command{
      SORVIK_PYTHON,    std::string(SORVIK_TEST_SUPPORT) + "/https_server.py",
      "--root",         root.string(),
      "--certificates", authority.folder().string(),
      "--ports",        ports.string(),
      "--log",          (folder_.path() / "log").string(),
      "--port",         std::to_string(setup.port),
      "--delay",        std::to_string(setup.delaySeconds)};
  process_ = std::make_unique<Process>(command);
  const auto giveUp = std::chrono::steady_clock::now() + std::chrono::seconds(60);
  while (!std::filesystem::exists(ports)) {
    if (process_->hasEnded() || std::chrono::steady_clock::now() > giveUp) {
      throw std::runtime_error("the https server does not start: " + process_->wait().err);
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  std::ifstream file(ports);
  std::string certificate;
  std::uint16_t port = 0;
  while (file >> certificate >> port) ports_[certificate] = port;
}

std::string HttpsServer::url(const std::string& path, const std::string& certificate) const {
  return "https://127.0.0.1:" + std::to_string(port(certificate)) + '/' + path;
}

std::uint16_t HttpsServer::port(const std::string& certificate) const { return ports_.at(certificate); }

std::vector<LoggedRequest> HttpsServer::requests(const std::string& testCase) const {
  std::vector<LoggedRequest> found;
  std::istringstream log(readFile(folder_.path() / "log"));
  std::string line;
  while (std::getline(log, line)) {
    std::istringstream words(line);
    std::string name;
    std::string method;
    LoggedRequest request;
    words >> name >> method >> request.file >> request.range >> request.ifRange >> request.authorization >>
        request.acceptEncoding >> request.query >> request.clientPort;
    if (name == testCase) found.push_back(request);
  }
  return found;
}

}  // namespace Testing
