#pragma once
// Files of the system for every platform that stands on POSIX: the programs' and the tests'.

#include "base/Platform.h"

namespace tally {

// The rows of PlatformTable of the same names. The path "-" is standard input or output.
bool PosixReadFile(WideView path, Array<u8>& out);
bool PosixFileExists(WideView path);
OutputHandle PosixCreateFile(WideView path);
bool PosixWriteFile(OutputHandle file, const void* bytes, std::size_t count);
bool PosixPatchFile(OutputHandle file, u64 offset, const void* bytes, std::size_t count);
bool PosixCloseFile(OutputHandle file);
void PosixAbandonFile(OutputHandle file);
bool PosixProgramDirectory(WideText& out);
// Neither knows of trust: a platform asks its own state first.
ReadOutcome PosixReadPlainFile(const FileRequest& request, Array<u8>& out, FileStamp* stamp);
bool PosixFileStamp(WideView path, FileStamp& out);

// Gives up every output that was neither closed nor abandoned.
void ResetPosixFiles();

}  // namespace tally
