// The envelope of every document that the module writes.
#pragma once

#include <tinyxml.h>

// <?xml ?><Varo>`content`</Varo>; with `delta`, the root says Delta="0": the whole, not a
// difference.
TiXmlDocument makeDocument(const TiXmlElement& content, bool delta);
