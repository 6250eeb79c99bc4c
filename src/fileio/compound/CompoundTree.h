#pragma once
// The tree of a compound file: its storages and streams, read whole, and a file made of them again.

#include "base/Platform.h"
#include "model/CarriedTypes.h"

namespace tally {

// All entries of the directory but the streams of the workbook itself ("Workbook", "Book") at the root, each
// behind its parent; the first is the root. Streams that do not lie in the file whole, and what would make
// the whole larger than the file, are left out. False when memory fails.
[[nodiscard]] bool ReadCompoundTree(ByteView file, Array<CarriedEntry>& entries);

// The name of the workbook's own stream in a form.
WideView BookStreamName(u8 biffVersion);

// What a file holds beside the workbook's stream. Without entries it gets two empty streams that other
// programs look for. `dropped` is set for what stays out: a storage with all below it; of the root its class.
struct CompoundContents {
    std::span<const CarriedEntry> entries;
    std::span<const bool> dropped;
};

// The whole file: header, stream padded to at least 4,096 bytes, the other streams, FAT, directory and,
// beyond 109 FAT sectors, DIFAT. False when memory fails.
[[nodiscard]] bool BuildCompoundFile(ByteView stream, u8 biffVersion, Array<u8>& out,
                                     const CompoundContents& contents = {});
// The same straight to a file. False when memory or a write fails.
[[nodiscard]] bool WriteCompoundFile(ByteView stream, u8 biffVersion, OutputHandle file,
                                     const CompoundContents& contents = {});

}  // namespace tally
