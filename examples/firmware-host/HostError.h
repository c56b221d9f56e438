// A reason not to install, for the user.

#pragma once

#include <stdexcept>

class HostError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};
