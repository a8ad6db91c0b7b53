// Base of the fuzz targets that run the module. Each input gets a module of its own between the
// fakes. An expectation that fails ends the process, so the fuzzer keeps the input.
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

    // Checks that only elements beyond the bounds are left out, also for narrow bounds.
    static std::string checked(std::string_view text) {
        for (const XmlBounds& bounds : {XmlBounds{}, {3, 1}})
            expectPrunedTree(std::string(text), bounds);
        return std::string(text);
    }

    // Checks that the saved settings can be read again and equal those sent to the host.
    static void expectSavedIsSent() {
        TiXmlDocument saved;
        TiXmlDocument sent;
        EXPECT_TRUE(LoadXmlFile(saved, "tamborin.xml") && saved.RootElement() != nullptr);
        EXPECT_TRUE(excessIn(description).empty());
        // A load turns all line ends of a file into line feeds.
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
