// What a host does before it starts anything else, while there is only one thread.

#pragma once

#include <string>
#include <vector>

// Opens /dev/null for each standard stream that the caller closed. Otherwise another file could
// take the place of standard error, and scripts would fail to write.
void openStandardStreams();

// Lets the C library read the time zone file once. Unless TZ is set, it would look at the file
// again for the time of each entry in a package.
void readTimeZoneOnce();

// While it lives, OpenSSL does not find the machine's trust store. xmlsec would load all of it
// along with our certificate, which takes most of the time of a check, and the check never uses it.
// Scripts must not inherit this, because their downloads need the store.
class NoTrustStore {
public:
    NoTrustStore();
    ~NoTrustStore();
    NoTrustStore(const NoTrustStore&) = delete;
    NoTrustStore& operator=(const NoTrustStore&) = delete;

private:
    std::vector<const char*> set_;
};
