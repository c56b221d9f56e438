#include "Startup.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>

void openStandardStreams() {
    int descriptor = -1;
    do {
        descriptor = ::open("/dev/null", O_RDWR);
    } while (descriptor >= 0 && descriptor <= STDERR_FILENO);
    if (descriptor >= 0) {
        ::close(descriptor);
    }
}

void readTimeZoneOnce() {
    constexpr int keepTheUsers = 0;
    ::setenv("TZ", ":/etc/localtime", keepTheUsers);
}

NoTrustStore::NoTrustStore() {
    for (const char* const name : {"SSL_CERT_FILE", "SSL_CERT_DIR"}) {
        if (std::getenv(name) == nullptr) {
            ::setenv(name, "/dev/null", 1);
            set_.push_back(name);
        }
    }
}

NoTrustStore::~NoTrustStore() {
    for (const char* const name : set_) {
        ::unsetenv(name);
    }
}
