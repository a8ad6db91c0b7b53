// Parses an XML text as the module does, and tells which parts the module does not read.
#pragma once

#include <tinyxml.h>

#include <string>
#include <vector>

struct DocumentFlaws {
    std::string unreadable;  // why the module does not read the text to its end; empty when it does
    // A line for each element that the module leaves out; the last may say how many more there are.
    std::vector<std::string> leftOut;
};

// Fills `document` as the module would. Changes `text` to the UTF-8 that the module's parser reads.
DocumentFlaws parseAsModule(TiXmlDocument& document, std::string& text);
