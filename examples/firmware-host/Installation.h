// One installation, from the installer's start to its verdict.

#pragma once

#include <Norv/Corvane/Common/ValidatedFirmwareZip.h>

#include <string>

#include "Console.h"
#include "EventQueue.h"
#include "Report.h"
#include "ScriptOutput.h"

// Installs the package below `target` and shows what happens meanwhile; what scripts print goes to
// `onScriptLine`. Tells success, failure and a requested cancellation apart. Throws
// `std::system_error` when the system lacks the resources to begin.
Outcome install(Norv::Corvane::Common::ValidatedFirmwareZip firmware, const std::string& target,
                const Console& console, EventQueue& events, Report& report,
                const ScriptOutput::LineHandler& onScriptLine);
