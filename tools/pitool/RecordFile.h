#pragma once

#include <PI/Interchange.h>

#include <string>

namespace pitool {

// A record document, JSON or MessagePack (told apart by the content); "-"
// reads standard input. Fails with exit status 2 when it is not one.
PI::AnyRecord ReadRecordFile(const std::string& path);

// Writes `bytes` to `path` whole or not at all: a temporary file beside it
// (".pitool-XXXXXX"), flushed, then renamed over it, so that a reader sees
// the old file or the new one. Fails with exit status 2.
void WriteFileAtomically(const std::string& path, const std::string& bytes);

} // namespace pitool
