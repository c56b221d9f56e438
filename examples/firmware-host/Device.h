// What this device is, and whether a package is meant for it.
//
// A genuine package for another model bricks a device all the same, and a genuine old one brings
// its old holes back: the library reports what a package is for and compares nothing.

#pragma once

#include <Norv/Corvane/Common/FirmwareDescription.h>

#include <optional>
#include <string>

struct Device {
    std::optional<Norv::Ombrel::Project::DeviceType::Type> model;
    std::optional<std::string> hardwareRevision;
    std::optional<Norv::Ombrel::Project::Version> installedVersion;
};

// Throw `HostError` when there is no such model, or the text is not exactly a version.
Norv::Ombrel::Project::DeviceType::Type parseModel(const std::string& text);
Norv::Ombrel::Project::Version parseVersion(const std::string& text);

// Reads lines "model = ...", "hardware-revision = ..." and "installed-version = ...", all three
// required; lines that begin with "#" or ";" are comments. Throws `HostError`.
Device readDevice(const std::string& path);

// Throws `HostError` when the package is for another model, does not support the hardware revision,
// or is older than what is installed, unless that is allowed. What `device` leaves open is not
// compared. `package` is the name for the message.
void requireMeantFor(const Device& device, bool allowDowngrade, const std::string& package,
                     const Norv::Corvane::Common::FirmwareDescription& description);
