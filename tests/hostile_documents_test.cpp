// Documents that would crash the parser, or keep it busy for hours.
#include <pthread.h>

#include <algorithm>
#include <random>

#include "base/utf8.h"
#include "config/xml_bounds.h"
#include "config/xml_parse.h"
#include "config/xml_store.h"
#include "module_test.h"

namespace {

constexpr size_t SmallStack = 256 * 1024;

template <typename Work>
void onSmallStack(Work work) {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, SmallStack);
    pthread_t thread{};
    const auto start = [](void* argument) -> void* {
        return (*static_cast<Work*>(argument))(), nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, &attributes, start, &work), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
}

std::string repeat(const std::string& text, size_t times) {
    std::string all;
    while (times-- > 0)
        all += text;
    return all;
}

// The levels and the most attributes of a parsed tree.
XmlBounds extentOf(const TiXmlNode& node) {
    XmlBounds extent{0, 0};
    for (const TiXmlNode* child = node.FirstChild(); child != nullptr;
         child = child->NextSibling()) {
        const XmlBounds below = extentOf(*child);
        extent.levels = std::max(extent.levels, below.levels);
        extent.attributes = std::max(extent.attributes, below.attributes);
    }
    if (const TiXmlElement* element = node.ToElement()) {
        ++extent.levels;
        size_t count = 0;
        for (const TiXmlAttribute* a = element->FirstAttribute(); a != nullptr; a = a->Next())
            ++count;
        extent.attributes = std::max(extent.attributes, count);
    }
    return extent;
}

bool isWithin(const XmlBounds& extent, const XmlBounds& bounds) {
    return extent.levels <= bounds.levels && extent.attributes <= bounds.attributes;
}

using HostileDocuments = ModuleTest;

// Each comes once as a host's document, behind an element that must still be applied, and once as
// the settings file and its pending file, where the whole file must count as malformed.
TEST_F(HostileDocuments, AreUsedUpToTheHarm) {
    std::string attributes;
    for (int i = 0; i < 700'000; ++i)
        attributes += " a" + std::to_string(i) + "='1'";
    const std::string ours =
        "<Varo><Devices ID='1310720' BufferLength='777'><Device><Audio>"
        "<Input Number='9' Name='Kept'/>";
    for (const std::string& harm : {repeat("<a>", 100'000), repeat("<a>", 3'333'333),
                                    repeat("<Input Number='1'><Schedule>", 400'000),
                                    repeat("<a b='>'><!-- </a> -->", 500'000),
                                    "<a" + attributes + ">", repeat("<a><b/>", 1'500'000)}) {
        for (const char* file : {"tamborin.xml", "tamborin.xml.pending"})
            std::ofstream(file) << "<Varo><Devices ID='1310720'><Device><Audio><Input Number='8' "
                                   "Name='Lost'/>"
                                << harm;
        configure(ours + harm);
        fakeClock.onPause = [] { Close(); };
        onSmallStack([] { run(); });
        EXPECT_NE(document.find("BufferLength=\"777\""), std::string::npos) << harm.substr(0, 30);
        EXPECT_NE(document.find("Name=\"Kept\""), std::string::npos) << harm.substr(0, 30);
        EXPECT_EQ(document.find("Lost"), std::string::npos) << harm.substr(0, 30);
        EXPECT_LT(document.size(), 5000U);
        EXPECT_EQ(fileContent("tamborin.xml").substr(0, 8), "<?xml ?>");
        Unload();
        Load(&hostTable_, &moduleInfo_);
    }
}

// What is wide but not deep is taken whole.
TEST_F(HostileDocuments, HugeButHarmless) {
    const std::string wide = "<Varo>" + repeat("<a b='1'>x</a>", 700'000) + "</Varo>";
    std::ofstream("wide.xml") << wide;
    onSmallStack([] {
        TiXmlDocument loaded;
        EXPECT_TRUE(LoadXmlFile(loaded, "wide.xml"));
        EXPECT_STREQ(loaded.RootElement()->LastChild()->Value(), "a");
    });
    const std::string deep = repeat("<a>", 64) + "x" + repeat("</a>", 64);
    EXPECT_EQ(harmlessLength(deep), deep.size());
    EXPECT_EQ(harmlessLength("<a>" + deep), 64U * 3);
}

// A name in any encoding is UTF-8 from then on: one byte of another would take the quote behind it
// with it when the settings are read again, and with them everything. So would a declaration's
// values, which TinyXML prints as they are.
TEST_F(HostileDocuments, NamesOutliveTheNextStart) {
    for (const std::string declaration : {"", "<?xml ?>", "<?xml encoding='ISO-8859-1'?>"})
        for (const auto& [sent, kept] :
             std::map<std::string, std::string>{{"Caf&#xE9;", "Caf\xC3\xA9"},
                                                {"K\xE4se", "K\xC3\xA4se"},
                                                {"K\xC3\xA4se", "K\xC3\xA4se"},
                                                {"&#xD800;", "\xC3\xAD\xC2\xA0\xC2\x80"},
                                                {"&#8364;", "\xE2\x82\xAC"},
                                                {"\xF0\x9F\x98", "\xC3\xB0\xC2\x9F\xC2\x98"},
                                                {"\xED\xA0\x80", "\xC3\xAD\xC2\xA0\xC2\x80"}}) {
            configure(declaration +
                      "<Varo><Devices ID='1310720'><Device><Audio><Input Number='3' Name='" + sent +
                      "'><Schedule><a><?xml version='&quot;&gt;&lt;b'?></a></Schedule></Input>"
                      "</Audio></Device></Devices></Varo>");
            fakeClock.onPause = [] { Close(); };
            for (int start = 0; start < 2; ++start) {
                run();
                EXPECT_NE(description.find("Name=\"" + kept + "\""), std::string::npos)
                    << declaration << sent << description;
                Unload();
                Load(&hostTable_, &moduleInfo_);
            }
        }
}

// The scan against the parser's own tree, over texts made of everything that could fool it.
TEST_F(HostileDocuments, ScanAgreesWithTheParser) {
    // clang-format off
    const std::vector<std::string> pieces{
        "<a>", "<a>", "<a>", "</a>", "</a>", "<b", "<b", ">", "/>", "</b>", "<a c='", "<a c=\"",
        "'", "\"", "<!--", "-->", "<![CDATA[", "]]>", "<?xml", "?>", " version='",
        " encoding='UTF-8'", "encoding='x'", "<!", "<", "/", "=", " ", "\n", "x", "-", "&#x", "&#",
        ";", "41", "E9", "&amp;", "&", "\xEF\xBB\xBF", "\xEF\xBF\xBE", "\xEF", "\xC3", "\xF0",
        "\xF7", "\xBF", "</", "<\xEF\xBB\xBF\x62", "d=e", "<a:b.c-d>"};
    // clang-format on
    std::mt19937 random(20260117);
    size_t parsedWhole = 0;
    size_t exceeded = 0;
    for (int round = 0; round < 300'000; ++round) {
        std::string text = round % 3 == 0 ? "\xEF\xBB\xBF" : round % 3 == 1 ? "<?xml?>" : "";
        for (auto length = random() % 16; length > 0; --length)
            text += pieces[random() % (random() % 2 == 0 ? 6 : pieces.size())];
        for (auto ends = random() % 3; ends > 0; --ends)
            text += "</a>";
        makeUtf8(text);
        const XmlBounds bounds{1 + random() % 4, 1 + random() % 2};
        const size_t harmless = harmlessLength(text, bounds);
        TiXmlDocument whole;
        TiXmlDocument cut;
        whole.Parse(text.c_str(), nullptr, TIXML_ENCODING_UTF8);
        cut.Parse(text.substr(0, harmless).c_str(), nullptr, TIXML_ENCODING_UTF8);
        ASSERT_TRUE(isWithin(extentOf(cut), bounds)) << text;
        const bool isFine = isWithin(extentOf(whole), bounds);
        if (!whole.Error()) {
            ASSERT_EQ(harmless == text.size(), isFine) << text;
        }
        parsedWhole += !whole.Error() && extentOf(whole).levels > 1 ? 1 : 0;
        exceeded += isFine ? 0 : 1;
    }
    EXPECT_GT(parsedWhole, 100U);
    EXPECT_GT(exceeded, 10'000U);
}

}  // namespace
