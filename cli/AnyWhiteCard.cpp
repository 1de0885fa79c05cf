#include "AnyWhiteCard.h"

#include <filesystem>

#include "CardGreen.h"
#include "WhiteCard.h"

std::shared_ptr<TiffFile> LoadAnyWhiteCard(const std::string& path, std::string& error,
                                           bool& throughLibtiff, bool scan) {
    throughLibtiff = false;
    std::error_code ec;
    if (!std::filesystem::is_regular_file(path, ec)) return LoadWhiteCard(path, error, {}, scan);
    {
        const LibtiffFile image(path, "rc");
        if (!image.Handle() || image.OneStripPlain()) return LoadWhiteCard(path, error, {}, scan);
        if (const std::string unusable = image.Unusable(); !unusable.empty()) {
            error = "Error: The white card can't be used: this is " + unusable;
            return nullptr;
        }
    }
    CardGreen card(path);
    auto record = std::make_shared<TiffFile>();
    if (!card.Opened() || !card.Scan(*record)) {
        error = "Error: The white card's pixels can't be decoded: " + card.Image().Error();
        return nullptr;
    }
    throughLibtiff = true;
    return record;
}
