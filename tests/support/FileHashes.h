#pragma once

// Fingerprints of the files in a folder, to show that a run left them alone.

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>

#include "TiffBuilder.h"

// 64-bit FNV-1a: plain, and plenty to tell a changed file from its original.
inline std::uint64_t Fnv1a(const std::string& bytes) {
    std::uint64_t hash = 14695981039346656037ull;
    for (const char c : bytes) {
        hash ^= static_cast<std::uint8_t>(c);
        hash *= 1099511628211ull;
    }
    return hash;
}

// Every file directly in the folder, by name.
inline std::map<std::string, std::uint64_t> HashFolder(const std::filesystem::path& folder) {
    std::map<std::string, std::uint64_t> hashes;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        if (entry.is_regular_file())
            hashes[entry.path().filename().string()] =
                Fnv1a(testing_tiff::ReadFile(entry.path().string()));
    return hashes;
}
