#pragma once
// Files that exist only inside this process, for tests. They lie in Headless().files.

#include "base/Platform.h"

namespace tally {

bool MemoryReadFile(WideView path, Array<u8>& out);
ReadOutcome MemoryReadPlainFile(const FileRequest& request, Array<u8>& out, FileStamp* stamp);
bool MemoryDeleteFile(WideView path);
bool MemoryListFolder(WideView pattern, u32 limit, Array<WideText>& names);
bool MemoryFileStamp(WideView path, FileStamp& out);
OutputHandle MemoryCreateFile(WideView path);
bool MemoryWriteFile(OutputHandle file, const void* bytes, std::size_t count);
bool MemoryPatchFile(OutputHandle file, u64 offset, const void* bytes, std::size_t count);
bool MemoryCloseFile(OutputHandle file);
void MemoryAbandonFile(OutputHandle file);
void ResetMemoryFiles();

}  // namespace tally
