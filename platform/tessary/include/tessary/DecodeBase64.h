// The one function of the device's base library, libtessary.so, that the firmware update uses.

#pragma once

#include <string>

// Decodes the Base64 text `encoded` into `decoded`, replacing what it held. White space between the
// characters is skipped. Returns false for malformed text; `decoded` then holds the bytes that were
// decoded before the error.
bool DecodeBase64(const std::string& encoded, std::string& decoded);
