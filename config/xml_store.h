// Safe saving and loading of XML files: the only way the module touches them.
//
// A save writes a side file with the suffix ".pending", flushes it to the disk and renames it over
// the target, so that a crash or a full disk leaves the old file or the new one, whole. A load
// first finishes a save that was interrupted between the two. Any thread; loads and saves of one
// path, compared byte for byte, wait for each other within the process. Other processes are not
// excluded.
#pragma once

#include <tinyxml.h>

#include <cstdint>
#include <string>

constexpr uint64_t LargestXmlFile = 64 << 20;  // bytes; real ones have some thousand

// True when the whole text was written and the rename succeeded (or found the pending file gone).
// False leaves the file at `path` as it was; lastXmlSaveFailure tells why. Throws std::bad_alloc,
// leaving the file as it was.
bool SaveXmlFile(const TiXmlDocument& document, const char* path);

// Fills `document` from the complete pending file of `path`, promoting it, or else from `path`.
// False leaves TinyXML's error in the document; what is not a regular file or is larger than
// LargestXmlFile counts as missing. Throws std::bad_alloc.
bool LoadXmlFile(TiXmlDocument& document, const char* path);

// What the last failed save in this process stumbled over, such as
// "create error 2 - No such file or directory"; empty when none ever failed.
std::string lastXmlSaveFailure();
