// What the module does not take of an XML text.
#pragma once

#include <tinyxml.h>

#include <string>
#include <vector>

struct DocumentFlaws {
    std::string end;  // why the module does not read the text to its end; empty when it does
    // Elements that it leaves out with all that is in them: the first ones, and how many more.
    std::vector<std::string> leftOut;
};

// Fills `document` as the module would, and makes `text` what the module lets its parser see.
DocumentFlaws parseAsModule(TiXmlDocument& document, std::string& text);
