#pragma once

#include <optional>
#include <string>

// The SHA-256 of a file's bytes in 64 lowercase hex digits, read through in
// blocks; nullopt when the file can't be read to its end. A card serves many
// subjects, so its digest is worth taking once and handing to each entry.
std::optional<std::string> FileSha256(const std::string& path);
