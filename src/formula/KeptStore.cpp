#include "formula/KeptStore.h"

namespace tally {
namespace {

constexpr u32 CHAINS = 4096;

struct KeptState {
    KeptItem* chains[CHAINS] = {};
    KeptItem* newest = nullptr;
    KeptItem* oldest = nullptr;
    std::size_t bytes = 0;
};
KeptState state;

u32 ChainOf(const KeptKey& key) {
    u64 hash = key.where * 0x9E3779B97F4A7C15u ^ key.more * 0xC2B2AE3D27D4EB4Fu;
    hash = (hash ^ (u64{key.serial} << 32 | u64{key.kind} << 16 | key.detail)) * 0xD6E8FEB86659FD93u;
    return static_cast<u32>(hash >> 32) % CHAINS;
}

void Unlink(KeptItem* item) {
    (item->newer ? item->newer->older : state.newest) = item->older;
    (item->older ? item->older->newer : state.oldest) = item->newer;
}

void LinkNewest(KeptItem* item) {
    item->newer = nullptr;
    item->older = state.newest;
    (state.newest ? state.newest->newer : state.oldest) = item;
    state.newest = item;
}

}  // namespace

KeptItem* FindKept(const KeptKey& key) {
    KeptItem* item = state.chains[ChainOf(key)];
    while (item && !(item->key == key)) item = item->chained;
    if (item && item != state.newest) {
        Unlink(item);
        LinkNewest(item);
    }
    return item;
}

void EnterKept(KeptItem* item) {
    KeptItem*& chain = state.chains[ChainOf(item->key)];
    item->chained = chain;
    chain = item;
    LinkNewest(item);
    state.bytes += item->bytes;
}

void DropKept(KeptItem* item) {
    KeptItem** at = &state.chains[ChainOf(item->key)];
    while (*at != item) at = &(*at)->chained;
    *at = item->chained;
    Unlink(item);
    state.bytes -= item->bytes;
    item->destroy(item);
}

void NoteKeptSize(KeptItem& item, std::size_t bytes) {
    state.bytes = state.bytes - item.bytes + bytes;
    item.bytes = bytes;
}

void TrimKept() {
    while (state.bytes > KEPT_BYTES && state.oldest) DropKept(state.oldest);
}

std::size_t KeptBytes() { return state.bytes; }

void ResetKept() {
    while (state.oldest) DropKept(state.oldest);
}

}  // namespace tally
