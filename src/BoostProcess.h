// Boost.Process in its first version, whose interface this uses.

#pragma once

#include <boost/version.hpp>

#if BOOST_VERSION >= 108800
// In a folder and a namespace of its own from Boost 1.88 on, where the second version is the
// default. Brings the exceptions; their own header cannot be included first.
#include <boost/process/v1/system.hpp>

namespace Norv::Corvane::Common {
namespace process = boost::process::v1;
}
#else
#include <boost/process/exception.hpp>
#include <boost/process/system.hpp>

namespace Norv::Corvane::Common {
namespace process = boost::process;
}
#endif
