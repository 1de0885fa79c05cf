#include "FileTypes.h"

#include <algorithm>
#include <cctype>

namespace {
std::string Lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}
}  // namespace

std::vector<std::string> FileType::ExtensionList() const {
    std::vector<std::string> list;
    std::size_t start = 0;
    while (start <= Extensions.size()) {
        const std::size_t end = std::min(Extensions.find(';', start), Extensions.size());
        if (end > start) list.push_back(Extensions.substr(start, end - start));
        start = end + 1;
    }
    return list;
}

bool FileType::Matches(const std::string& fileName) const {
    const std::string name = Lower(fileName);
    for (const std::string& extension : ExtensionList()) {
        const std::string ext = Lower(extension);
        if (name.size() > ext.size() &&
            name.compare(name.size() - ext.size(), ext.size(), ext) == 0)
            return true;
    }
    return false;
}

const FileTypes& FileTypes::Instance() {
    static const FileTypes instance;
    return instance;
}

FileTypes::FileTypes() {
    pText = Add("text", ".text;.txt", "TEXT", "????");
    pImageTiff = Add("image/tiff", ".jfx;.tif;.tiff", "TIFF", "????");
    pImagePict = Add("image/pict", ".pict;.pic;.pct", "PICT", "ttxt");
    pImageGif = Add("image/gif", ".gif", "GIFf", "prvw");
    pImageJpeg = Add("image/jpeg", ".jfif;.jpe;.jpeg;.jpg", "JPEG", "prvw");
    pTextPlain = Add("text/plain", ".text;.txt", "TEXT", "????");
    pImageRaw = Add("image/raw", ".raw", "raw", "????");
    pProf = Add("prof", "icc", "prof", "sync");
}

std::shared_ptr<FileType> FileTypes::Add(const std::string& name, const std::string& extensions,
                                         const std::string& macType,
                                         const std::string& macCreator) {
    auto type = std::make_shared<FileType>();
    type->Name = name;
    type->Extensions = extensions;
    type->MacType = macType;
    type->MacCreator = macCreator;
    type->MimeType = "";
    type->Imported = true;
    type->ConformsTo = "";
    pAllFileTypes.push_back(type);
    return type;
}

std::string FileTypes::TypeOf(const std::string& fileName) const {
    for (const auto& type : pAllFileTypes)
        if (type->Matches(fileName)) return type->Name;
    return "";
}

const FileType* FileTypes::Find(const std::string& name) const {
    for (const auto& type : pAllFileTypes)
        if (type->Name == name) return type.get();
    return nullptr;
}
