// The index as an ordinary user finds it.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <boost/interprocess/exceptions.hpp>
#include <boost/json/error.hpp>
#include <boost/system/system_error.hpp>
#include <cerrno>
#include <filesystem>
#include <functional>
#include <string>

#include "ChildProcess.h"
#include "Norv/Corvane/Common/FirmwareIndex.h"
#include "TemporaryDirectory.h"

namespace Norv::Corvane::Common::FirmwareIndex {
namespace {

using Corvane::Test::ChildProcess;

class FirmwareIndexPermission : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(::chmod(directory_.path().c_str(), 0755), 0);
        Save(path_, saved_);
    }

    void allow(mode_t mode) const { ASSERT_EQ(::chmod(path_.c_str(), mode), 0); }

    // Runs in a process without root's rights: true if `check` is.
    static bool asOrdinaryUser(const std::function<bool()>& check) {
        constexpr uid_t nobody = 65534;
        ChildProcess process([&] {
            if (::geteuid() == 0 && (::setresgid(nobody, nobody, nobody) != 0 ||
                                     ::setresuid(nobody, nobody, nobody) != 0)) {
                return 2;
            }
            return check() ? 0 : 1;
        });
        return process.wait() == "exit 0";
    }

    static bool lacksPermission(const std::function<void()>& call) {
        try {
            call();
        } catch (const boost::interprocess::interprocess_exception& error) {
            return error.get_native_error() == EACCES &&
                   error.get_error_code() == boost::interprocess::security_error;
        }
        return false;
    }

    const Firmwares saved_{
        {{"a", Ombrel::Project::DeviceType::Type::WOLMZB04, {1, 2, 3, 4}, {"A1"}, "5e"}}};
    const Corvane::Test::TemporaryDirectory directory_;
    const std::filesystem::path path_ = (directory_ / "index.json").string();
};

TEST_F(FirmwareIndexPermission, ToReadAndWriteServesALoadAndASave) {
    allow(0666);
    EXPECT_TRUE(asOrdinaryUser([&] {
        if (Load(path_) != saved_) {
            return false;
        }
        Save(path_, {});
        return Load(path_) == Firmwares{};
    }));
}

TEST_F(FirmwareIndexPermission, ToReadOnlyDoesNotServeALoad) {
    allow(0444);
    EXPECT_TRUE(asOrdinaryUser([&] { return lacksPermission([&] { Load(path_); }); }));
}

TEST_F(FirmwareIndexPermission, ToReadOnlyLeavesTheFileAloneWhenASaveThrows) {
    allow(0444);
    EXPECT_TRUE(asOrdinaryUser([&] { return lacksPermission([&] { Save(path_, {}); }); }));
    allow(0644);
    EXPECT_EQ(Load(path_), saved_);
}

TEST_F(FirmwareIndexPermission, ToWriteOnlyReadsAsNoArray) {
    allow(0222);
    EXPECT_TRUE(asOrdinaryUser([&] {
        try {
            Load(path_);
        } catch (const boost::system::system_error& error) {
            return error.code() == boost::json::error::not_array;
        }
        return false;
    }));
}

TEST_F(FirmwareIndexPermission, ToCreateAFileIsNeededByASaveWithoutOne) {
    ASSERT_EQ(::chmod(directory_.path().c_str(), 0555), 0);
    EXPECT_TRUE(asOrdinaryUser([&] {
        try {
            Save(path_.parent_path() / "new.json", {});
        } catch (const boost::interprocess::interprocess_exception& error) {
            return error.get_native_error() == ENOENT;
        }
        return false;
    }));
}

TEST_F(FirmwareIndexPermission, ToEnterTheDirectoryIsNeededByALoad) {
    ASSERT_EQ(::chmod(directory_.path().c_str(), 0), 0);
    EXPECT_TRUE(asOrdinaryUser([&] {
        try {
            Load(path_);
        } catch (const std::filesystem::filesystem_error& error) {
            return error.code() == std::errc::permission_denied;
        }
        return false;
    }));
}

}  // namespace
}  // namespace Norv::Corvane::Common::FirmwareIndex
