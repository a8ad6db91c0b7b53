// Documents that would crash TinyXML's parser, or keep it busy for hours.
#include <pthread.h>

#include <random>

#include "base/utf8.h"
#include "config/xml_store.h"
#include "module_test.h"
#include "pruned_tree.h"

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

std::string manyAttributes(int count) {
    std::string attributes;
    for (int i = 0; i < count; ++i)
        attributes += " a" + std::to_string(i) + "=\"1\"";
    return attributes;
}

using HostileDocuments = ModuleTest;

// Each harmful element comes in a host's document, in the settings file and in its pending file.
// What stands before and behind it must be applied. Each also comes without its end: then a host's
// document is applied up to the harm, and files count as malformed.
TEST_F(HostileDocuments, AreUsedWithoutTheHarm) {
    const std::string behind = "</Audio></Device></Devices></Varo>";
    for (const auto& [harm, end] : std::vector<std::pair<std::string, std::string>>{
             {repeat("<a>", 100'000), repeat("</a>", 100'000)},
             {repeat("<a>", 3'333'333), repeat("</a>", 3'333'333)},
             {repeat("<Input Number='1'><Schedule>", 400'000),
              repeat("</Schedule></Input>", 400'000)},
             {repeat("<a b='>'><!-- </a> -->", 500'000), repeat("</a>", 500'000)},
             {"<a" + manyAttributes(700'000) + ">", "</a>"},
             {repeat("<a><b/>", 1'500'000), repeat("</a>", 1'500'000)}})
        for (const bool ends : {false, true}) {
            SCOPED_TRACE(harm.substr(0, 30) + (ends ? " ends" : ""));
            const std::string ours = "<Devices ID='1310720'><Device><Audio><Input Number='";
            for (const std::string file : {"tamborin.xml", "tamborin.xml.pending"})
                std::ofstream(file) << "<Varo>" + ours + "8' Name='" + file + "'/>" + harm
                                    << (ends ? end + behind : "");
            configure("<Varo>" + (ends ? harm + end : "") + ours + "9' Name='Before'/>" + harm +
                      (ends ? end + "<Input Number='10' Name='Behind'/>" + behind : ""));
            fakeClock.onPause = [] { Close(); };
            onSmallStack([] { run(); });
            for (const auto& [text, isThere] :
                 std::map<std::string, bool>{{"Name=\"Before\"", true},
                                             {"Name=\"Behind\"", ends},
                                             {"Name=\"tamborin.xml\"", false},
                                             {"Name=\"tamborin.xml.pending\"", ends}})
                EXPECT_EQ(document.find(text) != std::string::npos, isThere) << text;
            EXPECT_LT(document.size(), 10'000U);
            EXPECT_EQ(fileContent("tamborin.xml").substr(0, 8), "<?xml ?>");
            nextLife();
        }
}

// A wide document is used whole. Millions of excess elements are left out of another. A schedule at
// both bounds is kept, now and at the next start.
TEST_F(HostileDocuments, HugeButHarmless) {
    const std::string wide = "<Varo>" + repeat("<a b='1'>x</a>", 700'000) + "</Varo>";
    std::ofstream("wide.xml") << wide;
    onSmallStack([] {
        TiXmlDocument loaded;
        EXPECT_TRUE(LoadXmlFile(loaded, "wide.xml"));
        EXPECT_STREQ(loaded.RootElement()->LastChild()->Value(), "a");
    });
    std::string text = "<a>" + repeat("x<b/>", 2'500'000) + "</a>";
    leaveOut(excessIn(text, {1, 1}), text);
    EXPECT_TRUE(text == "<a>" + repeat("x<!---->", 2'500'000) + "</a>");
    const auto schedule = [](const std::string& innermost) {
        return "<Schedule>" + repeat("<a>", 249) + "<a" + manyAttributes(1000) + ">x" + innermost +
               "y</a><b />" + repeat("</a>", 249) + "</Schedule>";
    };
    configure("<Varo><Devices ID='1310720'><Device><Audio><Input Number='3'>" +
              schedule("<c>z</c>") + "</Input></Audio></Device></Devices></Varo>");
    fakeClock.onPause = [] { Close(); };
    for (int start = 0; start < 2; ++start) {
        onSmallStack([] { run(); });
        EXPECT_NE(description.find(schedule("<!---->")), std::string::npos) << description;
        nextLife();
    }
}

// A name in any encoding becomes UTF-8. A byte of another encoding would swallow the quote behind
// it when the settings are read again, and all settings would be lost. A declaration's values,
// which TinyXML prints unescaped, would do the same.
TEST_F(HostileDocuments, NamesOutliveTheNextStart) {
    for (const std::string declaration : {"", "<?xml ?>", "<?xml encoding='ISO-8859-1'?>"})
        for (const auto& [sent, kept] :
             std::map<std::string, std::string>{{"Caf&#xE9;", "Caf\xC3\xA9"},
                                                {"K\xE4se", "K\xC3\xA4se"},
                                                {"K\xC3\xA4se", "K\xC3\xA4se"},
                                                {"\xF0\x9F\x98", "\xC3\xB0\xC2\x9F\xC2\x98"},
                                                {"&#xD800;", "\xC3\xAD\xC2\xA0\xC2\x80"}}) {
            configure(declaration +
                      "<Varo><Devices ID='1310720'><Device><Audio><Input Number='3' Name='" + sent +
                      "'><Schedule><a><?xml version='&quot;&gt;&lt;b'?></a></Schedule></Input>"
                      "</Audio></Device></Devices></Varo>");
            fakeClock.onPause = [] { Close(); };
            for (int start = 0; start < 2; ++start) {
                run();
                EXPECT_NE(description.find("Name=\"" + kept + "\""), std::string::npos)
                    << declaration << sent << description;
                nextLife();
            }
        }
}

// Goes through every pair of first bytes. The bytes behind them are the lowest possible ones.
TEST(Utf8, IsKeptAndNothingElse) {
    for (unsigned lead = 0xC0; lead <= 0xFF; ++lead)
        for (unsigned second = 0; second <= 0xFF; ++second) {
            const size_t length = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
            const unsigned value = ((lead & (0x7FU >> length)) << 6 | (second & 0x3F))
                                   << (6 * (length - 2));
            const unsigned least = length == 2 ? 0x80 : length == 3 ? 0x800 : 0x10000;
            const bool isUtf8 = lead < 0xF8 && (second & 0xC0) == 0x80 && value >= least &&
                                value <= 0x10FFFF && (value & ~0x7FFU) != 0xD800;
            const std::string text{static_cast<char>(lead), static_cast<char>(second)};
            const std::string whole = text + std::string(length - 2, '\x80');
            std::string made = whole;
            makeUtf8(made);
            EXPECT_EQ(made == whole, isUtf8) << lead << " " << second;
        }
}

// Compares the scan with the parser's own tree, for random texts made of pieces that could fool it.
TEST_F(HostileDocuments, ScanAgreesWithTheParser) {
    // clang-format off
    const std::vector<std::string> pieces{
        "<a>", "<a>", "<a c='1'>", "<a c='1' d='' e=2>", "</a>", "</a>", "</a>", "x", "<b/>",  // tidy
        "<b", "<b", ">", "/>", "</b>", "<a c='", "<a c=\"", "'", "\"", "<!--", "-->", "<![CDATA[",
        "]]>", "<?xml", "?>", " version='", " encoding='UTF-8'", "encoding='x'", "<!", "<", "/", "=",
        " ", "\n", "-", "&#x", "&#", ";", "41", "E9", "&#x9aF0;", "&#190;", "&amp;", "&", "\xEF\xBB\xBF", "\xEF\xBF\xBE",
        "\xEF", "\xC3", "\xF0", "\xF7", "\xBF", "</", "<\xEF\xBB\xBF\x62", "d=e", "<a:b.c-d>",
        "<\x7F c='1' d='' e=2/>", "<a\rc='1'>", "\r",
        "<?xml version='><a>' encoding='><a>' standalone='><a>'?>"};
    // clang-format on
    constexpr size_t StartTags = 4;
    constexpr size_t Tidy = 9;
    std::mt19937 random(20260117);
    size_t leftOut = 0;
    for (size_t round = 0; round < 300'000; ++round) {
        std::string text = round % 3 == 0 ? "\xEF\xBB\xBF" : round % 3 == 1 ? "<?xml?>" : "";
        size_t started = 0;
        for (auto length = random() % 24; length > 0; --length) {
            const size_t piece = random() % (random() % 16 < round % 8 ? pieces.size() : Tidy);
            started += piece < StartTags ? 1 : 0;
            text += pieces[piece];
        }
        text += repeat("</a>", started);
        leftOut += expectPrunedTree(text, {1 + random() % 4, random() % 3});
        ASSERT_FALSE(HasFailure()) << text;
    }
    EXPECT_GT(leftOut, 20'000U);
}

}  // namespace
