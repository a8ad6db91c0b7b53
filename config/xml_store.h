// Saves and loads XML files safely. The module touches them in no other way.
//
// A save writes a side file with the suffix PendingSuffix, flushes it to the disk and renames it
// over the target, so that a crash or a full disk leaves the old file or the new one, whole. A load
// first finishes a save that was interrupted before its rename. Both may be called on any thread.
// Within the process, loads and saves of one path (compared byte for byte) wait for each other;
// other processes are not excluded.
#pragma once

#include <tinyxml.h>

#include <cstdint>
#include <string>

constexpr const char* PendingSuffix = ".pending";  // of the side file's name
constexpr uint64_t LargestXmlFile = 64 << 20;      // bytes; real ones have some thousand

// Returns true when the whole text was written and the rename succeeded (or found the pending file
// gone). Returns false, and leaves the file at `path` as it was, when anything fails or the text is
// larger than LargestXmlFile; lastXmlSaveFailure tells why. Whatever lies at the pending path is
// removed; what cannot be removed, such as a folder, fails the save. Throws std::bad_alloc, and
// leaves the file as it was.
bool SaveXmlFile(const TiXmlDocument& document, const char* path);

// Fills `document` from the complete pending file of `path`, which then takes the place of `path`,
// or else from `path`. Returns false, with TinyXML's error in the document, when there is no such
// file. A file that is not a regular one or is larger than LargestXmlFile counts as missing, and so
// does a link at the pending path. Throws std::bad_alloc, and std::system_error when a file could
// not be read for want of descriptors or memory: what `document` holds is unspecified then.
bool LoadXmlFile(TiXmlDocument& document, const char* path);

// Returns why the last failed save in this process failed, such as
// "create error 2 - No such file or directory"; empty when none has failed.
std::string lastXmlSaveFailure();
