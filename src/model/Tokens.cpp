#include "model/Tokens.h"

#include <cstring>

#include "base/Memory.h"

namespace tally {
namespace {

// The count of users stands in front of the bytes.
struct TokenHead {
    u32 users;
    u32 unused;
};

TokenHead* HeadOf(u8* bytes) { return reinterpret_cast<TokenHead*>(bytes - sizeof(TokenHead)); }

}  // namespace

bool MakeTokens(FormulaTokens& target, u16 length, u16 extraLength) {
    auto* block = static_cast<u8*>(AllocateBytes(sizeof(TokenHead) + length + extraLength));
    if (!block) {
        target = FormulaTokens();
        return false;
    }
    target.bytes = block + sizeof(TokenHead);
    target.length = length;
    target.extraLength = extraLength;
    HeadOf(target.bytes)->users = 1;
    return true;
}

bool MakeTokens(FormulaTokens& target, ByteView tokens, ByteView extra) {
    if (tokens.size() > 0xFFFF || extra.size() > 0xFFFF) return false;
    if (!MakeTokens(target, static_cast<u16>(tokens.size()), static_cast<u16>(extra.size()))) return false;
    if (!tokens.empty()) std::memcpy(target.bytes, tokens.data(), tokens.size());
    if (!extra.empty()) std::memcpy(target.bytes + tokens.size(), extra.data(), extra.size());
    return true;
}

void CopyTokens(FormulaTokens& target, const FormulaTokens& source) {
    target = source;
    if (target.bytes) ++HeadOf(target.bytes)->users;
}

void FreeTokens(FormulaTokens& tokens) {
    if (tokens.bytes && --HeadOf(tokens.bytes)->users == 0) ReleaseBytes(HeadOf(tokens.bytes));
    tokens = FormulaTokens();
}

u32 TokenUsers(const FormulaTokens& tokens) { return tokens.bytes ? HeadOf(tokens.bytes)->users : 0; }

bool UnshareTokens(FormulaTokens& tokens) {
    if (!tokens.bytes || HeadOf(tokens.bytes)->users == 1) return true;
    FormulaTokens own;
    if (!MakeTokens(own, tokens.length, tokens.extraLength)) return false;
    std::memcpy(own.bytes, tokens.bytes, TokenBytes(tokens));
    FreeTokens(tokens);
    tokens = own;
    return true;
}

bool EqualTokens(const FormulaTokens& a, const FormulaTokens& b) {
    if (a.length != b.length || a.extraLength != b.extraLength || !a.bytes != !b.bytes) return false;
    return a.bytes == b.bytes || std::memcmp(a.bytes, b.bytes, TokenBytes(a)) == 0;
}

}  // namespace tally
