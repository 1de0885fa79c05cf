# Writes OUTPUT, a C++ source that holds the bytes of FILES (names in FOLDER)
# and gives them out by name through EmbeddedResource. Run with cmake -P at
# build time, so a changed picture is built in again.
set(arrays "")
set(entries "")
set(index 0)
foreach(name IN LISTS FILES)
  file(READ "${FOLDER}/${name}" hex HEX)
  string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${hex}")
  string(REGEX REPLACE "(0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,)" "\\1\n    "
         bytes "${bytes}")
  string(APPEND arrays "const std::uint8_t kFile${index}[] = {\n    ${bytes}};\n")
  string(APPEND entries "    {\"${name}\", kFile${index}},\n")
  math(EXPR index "${index} + 1")
endforeach()
file(WRITE "${OUTPUT}.new" "// Made by EmbedFiles.cmake from the files of ${FOLDER}; not to be edited.
#include \"EmbeddedResources.h\"

namespace {
${arrays}
struct Entry {
    std::string_view name;
    std::span<const std::uint8_t> bytes;
};
const Entry kEntries[] = {
${entries}};
}  // namespace

std::span<const std::uint8_t> EmbeddedResource(std::string_view fileName) {
    for (const Entry& entry : kEntries)
        if (entry.name == fileName) return entry.bytes;
    return {};
}
")
file(COPY_FILE "${OUTPUT}.new" "${OUTPUT}" ONLY_IF_DIFFERENT)
file(REMOVE "${OUTPUT}.new")
