#pragma once

#include <memory>
#include <string>
#include <vector>

// One kind of file the program knows, as the open and save dialogs and the
// subject list see it.
struct FileType {
    std::string Name;
    std::string Extensions;  // ";"-separated, as declared ("icc" of Prof has no dot)
    std::string MacType;
    std::string MacCreator;
    std::string MimeType;
    bool Imported = false;
    std::string ConformsTo;

    // The extensions, each as written, in declared order.
    std::vector<std::string> ExtensionList() const;
    // Whether the file name ends in one of the extensions, case ignored. The
    // extension is matched as written, so "icc" matches any name ending in it.
    bool Matches(const std::string& fileName) const;
};

// The program's set of eight file types. Made once at start and kept for the
// life of the process; free of any window toolkit so that the command-line
// tool can share it.
class FileTypes {
  public:
    static const FileTypes& Instance();

    const FileType& Text() const { return *pText; }
    const FileType& ImageTiff() const { return *pImageTiff; }
    const FileType& ImagePict() const { return *pImagePict; }
    const FileType& ImageGif() const { return *pImageGif; }
    const FileType& ImageJpeg() const { return *pImageJpeg; }
    const FileType& TextPlain() const { return *pTextPlain; }
    const FileType& ImageRaw() const { return *pImageRaw; }
    const FileType& Prof() const { return *pProf; }

    // All eight, in declared order.
    const std::vector<std::shared_ptr<FileType>>& AllFileTypes() const { return pAllFileTypes; }

    // The name of the first type in the set that the file name matches; empty
    // when none does.
    std::string TypeOf(const std::string& fileName) const;
    // The type of that name; nullptr when the set has none.
    const FileType* Find(const std::string& name) const;

  private:
    FileTypes();
    std::shared_ptr<FileType> Add(const std::string& name, const std::string& extensions,
                                  const std::string& macType, const std::string& macCreator);

    std::vector<std::shared_ptr<FileType>> pAllFileTypes;
    std::shared_ptr<FileType> pText;
    std::shared_ptr<FileType> pImageTiff;
    std::shared_ptr<FileType> pImagePict;
    std::shared_ptr<FileType> pImageGif;
    std::shared_ptr<FileType> pImageJpeg;
    std::shared_ptr<FileType> pTextPlain;
    std::shared_ptr<FileType> pImageRaw;
    std::shared_ptr<FileType> pProf;
};
