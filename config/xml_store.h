// Saves and loads XML files safely. The module opens XML files nowhere else.
//
// A save writes a pending file (its suffix is PendingSuffix), syncs it to the disk and renames it
// over the target, so that a crash or a full disk leaves the old file or the new one, whole. A load
// first finishes a save that was interrupted before its rename. Both may be called on any thread.
// Within the process, loads and saves of one path (compared byte for byte) wait for each other.
// They do not wait for other processes.
#pragma once

#include <tinyxml.h>

#include <cstdint>
#include <string>

constexpr const char* PendingSuffix = ".pending";  // of the pending file's name
constexpr uint64_t LargestXmlFile = 64 << 20;      // bytes; real files have a few thousand

// Returns true when the whole text was written and the rename succeeded (or found the pending file
// gone). Returns false when a step other than the sync fails or the text is larger than
// LargestXmlFile; lastXmlSaveFailure tells why. Anything at the pending path is removed first; the
// save fails when that cannot be removed, as a folder cannot. Throws std::bad_alloc. After each
// failure the file at `path` is unchanged.
bool SaveXmlFile(const TiXmlDocument& document, const char* path);

// Fills `document` from the complete pending file of `path`, which then takes the place of `path`,
// or else from `path`. Returns false, with TinyXML's error in the document, when neither can be
// used. A file that is not a regular one or is larger than LargestXmlFile counts as missing, and so
// does a link at the pending path. Throws std::bad_alloc, and std::system_error when the system is
// short of descriptors or memory; the content of `document` is then unspecified.
bool LoadXmlFile(TiXmlDocument& document, const char* path);

// Returns why the last failed save in this process failed, such as
// "create error 2 - No such file or directory", or an empty text when no save has failed.
std::string lastXmlSaveFailure();
