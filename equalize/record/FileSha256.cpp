#include "FileSha256.h"

#include <openssl/evp.h>

#include <cstdio>
#include <memory>
#include <vector>

namespace {
std::string Hex(const unsigned char* bytes, unsigned length) {
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    for (unsigned i = 0; i < length; ++i) {
        text += kDigits[bytes[i] >> 4];
        text += kDigits[bytes[i] & 15];
    }
    return text;
}
}  // namespace

std::optional<std::string> FileSha256(const std::string& path) {
    // std::FILE rather than a stream: a read error (a folder, a failing disk)
    // shows in ferror, where a stream would take it for the end of the file.
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"),
                                                               std::fclose);
    const std::unique_ptr<EVP_MD_CTX, void (*)(EVP_MD_CTX*)> context(EVP_MD_CTX_new(),
                                                                     EVP_MD_CTX_free);
    if (!file || !context || !EVP_DigestInit_ex(context.get(), EVP_sha256(), nullptr))
        return std::nullopt;
    std::vector<unsigned char> block(std::size_t{1} << 16);
    while (const std::size_t got = std::fread(block.data(), 1, block.size(), file.get()))
        if (!EVP_DigestUpdate(context.get(), block.data(), got)) return std::nullopt;
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned length = 0;
    if (std::ferror(file.get()) || !EVP_DigestFinal_ex(context.get(), digest, &length))
        return std::nullopt;
    return Hex(digest, length);
}
