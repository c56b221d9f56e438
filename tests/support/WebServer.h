// A web server on the loopback interface.

#pragma once

#include <sys/types.h>

#include <string>

namespace Norv::Corvane::Test {

// Answers every request with the same content, from a child process that ends with the object.
// Throws `std::runtime_error` when there is no port to be had.
class WebServer {
public:
    explicit WebServer(const std::string& content);
    ~WebServer();
    WebServer(const WebServer&) = delete;
    WebServer& operator=(const WebServer&) = delete;

    const std::string& url() const { return url_; }

private:
    std::string url_;
    pid_t child_;
};

}  // namespace Norv::Corvane::Test
