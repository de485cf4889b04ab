#include "tests/root/support/engine/MirrorServer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <ctime>

#include "tests/root/support/world/FilesAndMounts.h"
#include "tests/root/support/world/Lines.h"

namespace quillo::tests {
namespace {

constexpr char dateFormat[] = "%a, %d %b %Y %H:%M:%S GMT";

std::string dateText(long time) {
  const std::time_t seconds = time;
  std::tm parts = {};
  gmtime_r(&seconds, &parts);
  std::array<char, 64> text;
  return {text.data(), std::strftime(text.data(), text.size(), dateFormat, &parts)};
}

// 0 when the request has no such line.
long dateAfter(const std::string& request, const std::string& header) {
  const std::size_t start = request.find(header);
  std::tm parts = {};
  if (start == std::string::npos ||
      strptime(request.c_str() + start + header.size(), dateFormat, &parts) == nullptr) {
    return 0;
  }
  return timegm(&parts);
}

std::string readRequest(int connection) {
  std::string request;
  std::array<char, 4096> bytes;
  while (request.find("\r\n\r\n") == std::string::npos) {
    const ssize_t count = read(connection, bytes.data(), bytes.size());
    if (count <= 0) {
      break;
    }
    request.append(bytes.data(), static_cast<std::size_t>(count));
  }
  return request;
}

}  // namespace

MirrorServer::MirrorServer()
    : listener_(check(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0), "a socket")) {
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  auto* generic = reinterpret_cast<sockaddr*>(&address);
  socklen_t size = sizeof address;
  check(bind(listener_.get(), generic, size), "bind");
  check(listen(listener_.get(), 16), "listen");
  check(getsockname(listener_.get(), generic, &size), "getsockname");
  port_ = ntohs(address.sin_port);
  acceptor_.start([this] { acceptAll(); });
}

MirrorServer::~MirrorServer() {
  release();
  stop_.give();
  acceptor_.join();
  answers_.join();
}

std::string MirrorServer::url(const std::string& name) const {
  return "http://127.0.0.1:" + std::to_string(port_) + "/" + name;
}

void MirrorServer::serve(const std::string& content, int hoursAgo) {
  const std::lock_guard hold(lock_);
  content_ = content;
  refusal_.clear();
  written_ = std::time(nullptr) - hoursAgo * 3600L;
}

void MirrorServer::refuseWith(const std::string& status) {
  const std::lock_guard hold(lock_);
  refusal_ = status;
}

void MirrorServer::hold() {
  const std::lock_guard hold(lock_);
  held_ = true;
}

void MirrorServer::release() {
  const std::lock_guard hold(lock_);
  held_ = false;
  changed_.notify_all();
}

bool MirrorServer::awaitRequests(int count) {
  std::unique_lock hold(lock_);
  return changed_.wait_for(hold, deadline, [&] { return requests_ >= count; });
}

void MirrorServer::acceptAll() {
  while (stop_.awaitReadable(listener_.get())) {
    const int connection = accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC);
    if (connection >= 0) {
      answers_.start([this, connection] { answer(connection); });
    }
  }
}

void MirrorServer::answer(int connection) {
  const std::string request = readRequest(connection);
  std::unique_lock hold(lock_);
  ++requests_;
  changed_.notify_all();
  changed_.wait(hold, [this] { return !held_; });
  const std::string text = reply(request);
  hold.unlock();
  [[maybe_unused]] const ssize_t ignored = send(connection, text.data(), text.size(), MSG_NOSIGNAL);
  close(connection);
}

std::string MirrorServer::reply(const std::string& request) const {
  std::string status = refusal_.empty() ? "200 OK" : refusal_;
  std::string body = refusal_.empty() ? content_ : "no";
  if (refusal_.empty() && dateAfter(request, "If-Modified-Since: ") >= written_) {
    status = "304 Not Modified";
    body.clear();
  }
  return "HTTP/1.1 " + status + "\r\nConnection: close\r\nLast-Modified: " + dateText(written_) +
         "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

}  // namespace quillo::tests
