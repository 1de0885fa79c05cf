#include <gtest/gtest.h>

#include <exiv2/exiv2.hpp>

#include <atomic>
#include <fstream>
#include <map>
#include <thread>
#include <vector>

#include "FileSha256.h"
#include "TempFolder.h"
#include "XmpHistory.h"

namespace {
using Properties = std::map<std::string, std::string>;

const std::string kTwoEntries = R"(<x:xmpmeta xmlns:x="adobe:ns:meta/">
<rdf:RDF xmlns:rdf="http://www.w3.org/1999/02/22-rdf-syntax-ns#"><rdf:Description rdf:about=""
 xmlns:dc="http://purl.org/dc/elements/1.1/" xmlns:xmpMM="http://ns.adobe.com/xap/1.0/mm/"
 xmlns:stEvt="http://ns.adobe.com/xap/1.0/sType/ResourceEvent#" xmlns:my="http://example.com/my/"
 my:Thing="kept"><dc:title><rdf:Alt><rdf:li xml:lang="x-default">A title</rdf:li></rdf:Alt>
 </dc:title><dc:subject><rdf:Bag><rdf:li>one</rdf:li><rdf:li>two</rdf:li></rdf:Bag></dc:subject>
 <xmpMM:History><rdf:Seq><rdf:li stEvt:action="created" stEvt:when="2024-01-01T00:00:00Z"/>
 <rdf:li rdf:parseType="Resource"><stEvt:action>saved</stEvt:action></rdf:li></rdf:Seq>
</xmpMM:History></rdf:Description></rdf:RDF></x:xmpmeta>)";

// What Exiv2 reads in a packet, key by key.
Properties Read(const std::optional<std::string>& packet) {
    Exiv2::XmpData data;
    EXPECT_EQ(Exiv2::XmpParser::decode(data, packet.value_or("")), 0);
    Properties properties;
    for (const Exiv2::Xmpdatum& datum : data) properties[datum.key()] = datum.toString();
    return properties;
}

// The properties with the entry as item number item of the history.
Properties WithEntry(Properties properties, int item, const HistoryEntry& entry) {
    const std::string at = "Xmp.xmpMM.History[" + std::to_string(item) + "]";
    properties.insert({"Xmp.xmpMM.History", "type=\"Seq\""});
    properties[at] = "type=\"Struct\"";
    properties[at + "/stEvt:action"] = "flat-field corrected";
    properties[at + "/stEvt:when"] = entry.when;
    properties[at + "/stEvt:softwareAgent"] = "Brisavane " + entry.version;
    properties[at + "/stEvt:parameters"] = entry.parameters;
    return properties;
}

TEST(XmpHistory, AppendsOneEntryAfterTheOthersAndKeepsEveryProperty) {
    TempFolder folder;
    std::ofstream(folder / "f8;100mm.tif") << "abc";
    const HistoryEntry entry{
        "2024-05-01T10:00:00+02:00", "3.2.2",
        HistoryParameters("f8;100mm.tif",
                          FileSha256((folder / "f8;100mm.tif").string()).value_or(""), 87.5,
                          "--channels rgb --max-gain 4")};
    EXPECT_EQ(entry.parameters,
              "card=f8\\;100mm.tif; "
              "sha256=ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad; "
              "amount=87.5%; options=--channels rgb --max-gain 4");

    EXPECT_EQ(Read(AddHistoryEntry("", entry)), WithEntry({}, 1, entry));
    const Properties before = Read(kTwoEntries);
    ASSERT_EQ(before.at("Xmp.xmpMM.History[2]/stEvt:action"), "saved");
    EXPECT_EQ(Read(AddHistoryEntry(kTwoEntries, entry)), WithEntry(before, 3, entry));
    EXPECT_EQ(AddHistoryEntry(kTwoEntries.substr(0, 200), entry), std::nullopt);
}

// Unguarded, Exiv2's toolkit mixes up packets parsed on several threads at once.
TEST(XmpHistory, ThreadsTakeTurns) {
    const HistoryEntry entry{"2024-05-01T10:00:00Z", "3.2.2", "card=a.tif"};
    const std::optional<std::string> alone = AddHistoryEntry(kTwoEntries, entry);
    std::atomic<int> different = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&] {
            for (int i = 0; i < 300; ++i) different += AddHistoryEntry(kTwoEntries, entry) != alone;
        });
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(different, 0);
}

}  // namespace
