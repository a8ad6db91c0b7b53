// What the fuzz targets share: a module between the fakes for each input, in which a broken
// expectation is a crash that the fuzzer keeps.
#pragma once

#include <csignal>
#include <cstdlib>
#include <regex>
#include <string_view>

#include "config/xml_store.h"
#include "module_test.h"
#include "pruned_tree.h"

class FuzzedModule : public ModuleTest {
  public:
    FuzzedModule() {
        testing::FLAGS_gtest_break_on_failure = true;
        std::signal(SIGTRAP, [](int) { std::abort(); });
        fakePortAudio.addDevice("default");
        fakePortAudio.addDevice("pulse");
    }
    void TestBody() override {}

    static constexpr char Separator = '\x1E';  // between the texts of one input

    // Elements beyond the bounds, and they alone, are left out: with bounds that short texts reach.
    static std::string checked(std::string_view text) {
        for (const XmlBounds& bounds : {XmlBounds{}, {3, 1}})
            expectPrunedTree(std::string(text), bounds);
        return std::string(text);
    }

    // What the module has saved can be read at the next start, and is what it has told the host.
    static void expectSavedIsSent() {
        TiXmlDocument saved;
        TiXmlDocument sent;
        EXPECT_TRUE(LoadXmlFile(saved, "tamborin.xml") && saved.RootElement() != nullptr);
        EXPECT_TRUE(excessIn(description).empty());
        // A file's line ends are read as line feeds.
        description = std::regex_replace(description, std::regex("\r\n?"), "\n");
        sent.Parse(description.c_str());
        ASSERT_FALSE(sent.Error());
        TiXmlPrinter savedText;
        TiXmlPrinter sentText;
        saved.Accept(&savedText);
        sent.Accept(&sentText);
        EXPECT_EQ(savedText.Str(), sentText.Str());
    }
};
