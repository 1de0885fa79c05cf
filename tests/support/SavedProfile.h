#pragma once

#include <lcms2.h>

#include <cstdint>
#include <vector>

// A LittleCMS profile's bytes, as a TIFF embeds them; the profile is closed.
inline std::vector<std::uint8_t> SavedProfile(cmsHPROFILE profile) {
    cmsUInt32Number size = 0;
    cmsSaveProfileToMem(profile, nullptr, &size);
    std::vector<std::uint8_t> bytes(size);
    cmsSaveProfileToMem(profile, bytes.data(), &size);
    cmsCloseProfile(profile);
    return bytes;
}
