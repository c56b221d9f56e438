// An 8-bit locale that a test installs for itself: German in ISO-8859-1, in which 0xE4 and 0xC4 are
// the same letter and 0xA7 is punctuation. In the "C" locale they are nothing of the kind.

#pragma once

#include <stdlib.h>

#include <clocale>
#include <filesystem>
#include <locale>
#include <stdexcept>
#include <string>

#include "LeakCheckPause.h"

namespace Norv::Ombrel::Project {

// The C library never frees the search path that it makes of LOCPATH when it loads a locale.
template <typename Load>
auto withoutLeakCheck(const Load& load) {
    const Corvane::Test::LeakCheckPause pause;
    return load();
}

// Compiles the locale and makes it known to the process. The destructor sets the "C" locale again
// and removes it. Needs localedef and the sources of Debian's package "locales". One at a time.
class InstalledLocale {
public:
    InstalledLocale() {
        std::string pattern = (std::filesystem::temp_directory_path() / "locale-XXXXXX").string();
        if (!mkdtemp(pattern.data())) {
            throw std::runtime_error("cannot create " + pattern);
        }
        directory_ = pattern;
        const std::string command = "localedef -i de_DE -f ISO-8859-1 " + pattern + "/" + Name();
        if (std::system(command.c_str()) != 0) {
            throw std::runtime_error(command + " failed");
        }
        setenv("LOCPATH", pattern.c_str(), 1);
    }

    ~InstalledLocale() {
        std::locale::global(std::locale::classic());
        std::setlocale(LC_ALL, "C");
        unsetenv("LOCPATH");
        std::error_code ignored;
        std::filesystem::remove_all(directory_, ignored);
    }

    InstalledLocale(const InstalledLocale&) = delete;
    InstalledLocale& operator=(const InstalledLocale&) = delete;

    static std::string Name() { return "de_DE.ISO-8859-1"; }

    // For <cctype> only.
    void SetForC() const {
        if (!withoutLeakCheck([] { return std::setlocale(LC_ALL, Name().c_str()); })) {
            throw std::runtime_error("the locale is not installed");
        }
    }
    // For std::locale(), and for <cctype> unless `restoreC`.
    void SetForCpp(bool restoreC = false) const {
        withoutLeakCheck([] { return std::locale::global(std::locale(Name())); });
        if (restoreC) {
            std::setlocale(LC_ALL, "C");
        }
    }

private:
    std::filesystem::path directory_;
};

}  // namespace Norv::Ombrel::Project
