// What the library says besides its verdicts: its log, and why it ends the process.

#pragma once

#include "Console.h"
#include "EventQueue.h"
#include "Report.h"

// Sends the library's log to `report`, from the worker thread by way of `queue`. Pattern and level
// are the host's choice; the library only writes to the default logger. All three must outlive the
// last record.
void configureLog(bool verbose, Report& report, EventQueue& queue);

// A failure that the library cannot express as a verdict ends the process, for example a package
// that lists a file but does not hold it. On another thread than this one, the reason becomes a
// `Terminated` event, and whoever takes it ends the process.
void explainTermination(EventQueue& queue);
