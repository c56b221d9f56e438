// What a host does before it starts anything else. All of it while there is one thread only.

#pragma once

#include <string>
#include <vector>

// Gives the streams that the caller closed somewhere to go to. Other descriptors could take the
// place of standard error otherwise, and scripts would fail to write.
void openStandardStreams();

// Lets the C library read the file of the time zone once. It would look at the file again for the
// time of each entry in a package, unless TZ is set.
void readTimeZoneOnce();

// While it lives, OpenSSL finds no trust store of the machine: xmlsec would load all of it along
// with our certificate, which takes most of the time of a check, and the check never uses it.
// Scripts are not to inherit that: their downloads do need the store.
class NoTrustStore {
public:
    NoTrustStore();
    ~NoTrustStore();
    NoTrustStore(const NoTrustStore&) = delete;
    NoTrustStore& operator=(const NoTrustStore&) = delete;

private:
    std::vector<const char*> set_;
};
