#include "WebServer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <stdexcept>

namespace Norv::Corvane::Test {
namespace {

[[noreturn]] void serve(int listener, const std::string& answer) {
    // Also when the test dies.
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    for (;;) {
        const int connection = ::accept(listener, nullptr, nullptr);
        char request[4096];
        if (connection >= 0 && ::recv(connection, request, sizeof request, 0) > 0) {
            ::send(connection, answer.data(), answer.size(), MSG_NOSIGNAL);
        }
        ::close(connection);
    }
}

}  // namespace

WebServer::WebServer(const std::string& content) {
    const int listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    auto* const any = reinterpret_cast<sockaddr*>(&address);
    if (listener < 0 || ::bind(listener, any, length) != 0 || ::listen(listener, 8) != 0 ||
        ::getsockname(listener, any, &length) != 0) {
        throw std::runtime_error("no port for a web server");
    }
    url_ = "http://127.0.0.1:" + std::to_string(ntohs(address.sin_port)) + "/key";
    child_ = ::fork();
    if (child_ == 0) {
        serve(listener, "HTTP/1.0 200 OK\r\nContent-Length: " + std::to_string(content.size()) +
                            "\r\n\r\n" + content);
    }
    ::close(listener);
    if (child_ < 0) {
        throw std::runtime_error("no process for a web server");
    }
}

WebServer::~WebServer() {
    ::kill(child_, SIGKILL);
    ::waitpid(child_, nullptr, 0);
}

}  // namespace Norv::Corvane::Test
