// The first version of Boost.Process, whose interface the library uses.

#pragma once

#include <boost/version.hpp>

#if BOOST_VERSION >= 108800
// From Boost 1.88 on, the second version is the default, and the first has a folder and a namespace
// of its own. This header brings the exceptions, too: their own header cannot be included first.
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
