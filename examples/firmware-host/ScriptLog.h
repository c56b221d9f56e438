// Passes the lines that scripts print to the report or to a file.

#pragma once

#include <optional>
#include <string>

#include "Report.h"

class ScriptLog {
public:
    // Appends to the file, if one is given. Throws `HostError` when it cannot be opened.
    ScriptLog(const std::optional<std::string>& path, Report& report);
    ~ScriptLog();
    ScriptLog(const ScriptLog&) = delete;
    ScriptLog& operator=(const ScriptLog&) = delete;

    // If the file accepts no more, this is reported once, and the installation goes on.
    void write(const std::string& script, const std::string& line);

private:
    std::string path_;
    int descriptor_ = -1;
    bool complained_ = false;
    Report& report_;
};
