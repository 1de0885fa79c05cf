#include "XmpHistory.h"

#include <exiv2/exiv2.hpp>

#include <algorithm>
#include <cstdlib>
#include <mutex>

#include "NumberText.h"

namespace {
const std::string kHistory = "Xmp.xmpMM.History";

// Exiv2 0.27's XMP toolkit is one set of global state (its namespace registry
// among it), safe for one thread at a time only: every use takes this lock.
std::mutex& Exiv2Lock() {
    static std::mutex lock;
    return lock;
}

// Set up once, under the lock. Exiv2 logs what it finds wrong in a packet on
// stderr; the answer to the caller says it all.
bool Exiv2Ready() {
    static const bool ready = [] {
        Exiv2::LogMsg::setLevel(Exiv2::LogMsg::mute);
        return Exiv2::XmpParser::initialize();
    }();
    return ready;
}

// The number of the history's last event, 0 when it has none. Exiv2 lists
// every field of an event as a key of its own ("Xmp.xmpMM.History[2]/stEvt:when")
// and the history itself as a key without a value; one with a value holds
// plain text or a list of plain values, no events to add one to: nullopt.
std::optional<long> LastEvent(const Exiv2::XmpData& data) {
    long last = 0;
    for (const Exiv2::Xmpdatum& datum : data) {
        const std::string key = datum.key();
        if (key == kHistory && datum.count() > 0) return std::nullopt;
        if (key.starts_with(kHistory + "["))
            last = std::max(last, std::strtol(key.c_str() + kHistory.size() + 1, nullptr, 10));
    }
    return last;
}

// A property that is a container only: an ordered list or one structure.
void AddContainer(Exiv2::XmpData& data, const std::string& key, bool list) {
    Exiv2::XmpTextValue value;
    if (list)
        value.setXmpArrayType(Exiv2::XmpValue::xaSeq);
    else
        value.setXmpStruct();
    data.add(Exiv2::XmpKey(key), &value);
}

bool AppendEntry(Exiv2::XmpData& data, const HistoryEntry& entry) {
    const std::optional<long> last = LastEvent(data);
    if (!last) return false;
    if (data.findKey(Exiv2::XmpKey(kHistory)) == data.end()) AddContainer(data, kHistory, true);
    const std::string item = kHistory + "[" + std::to_string(*last + 1) + "]";
    AddContainer(data, item, false);
    data[item + "/stEvt:action"] = "flat-field corrected";
    data[item + "/stEvt:when"] = entry.when;
    data[item + "/stEvt:softwareAgent"] = "Brisavane " + entry.version;
    data[item + "/stEvt:parameters"] = entry.parameters;
    return true;
}

std::string Escaped(const std::string& text) {
    std::string escaped;
    for (const char c : text) {
        if (c == ';' || c == '\\') escaped += '\\';
        escaped += c;
    }
    return escaped;
}
}  // namespace

std::optional<std::string> AddHistoryEntry(const std::string& packet, const HistoryEntry& entry) {
    const std::lock_guard hold(Exiv2Lock());
    try {
        Exiv2::XmpData data;
        if (!Exiv2Ready() || Exiv2::XmpParser::decode(data, packet) != 0 ||
            !AppendEntry(data, entry))
            return std::nullopt;
        // Compact, in the packet wrapper and with the toolkit's usual padding,
        // so that other programs can edit the packet in place.
        std::string encoded;
        if (Exiv2::XmpParser::encode(encoded, data) != 0) return std::nullopt;
        return encoded;
    } catch (const Exiv2::AnyError&) {
        // decode and encode turn the toolkit's errors into a return code, but
        // Exiv2's own checks of the parsed nodes (one of no kind it knows, a
        // name it can't form a key of) throw.
        return std::nullopt;
    }
}

std::string HistoryParameters(const std::string& cardName, const std::string& cardSha256,
                              double amountPercent, const std::string& options) {
    return "card=" + Escaped(cardName) + "; sha256=" + cardSha256 +
           "; amount=" + CStr(amountPercent) + "%; options=" + options;
}
