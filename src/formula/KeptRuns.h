#pragma once
// What goes through numbers one after the other, such as a sum, from the number that a range begins with. The
// result is to the bit that of the plain walk. Ranges that begin at the same number share its states; windows
// that move on by the same step are walked side by side, since a walk waits for its own last step most of the
// time.
//
// A `State` begins as nothing and takes numbers by Add(double).

#include <algorithm>
#include <type_traits>

#include "formula/KeptNumbers.h"
#include "formula/SideBySide.h"

namespace tally {

struct SumState {
    double sum = 0;
    void Add(double x) { sum += x; }
};
struct ProductState {
    double product = 1;
    void Add(double x) { product *= x; }
};
struct SquareSumState {
    double sum = 0;
    void Add(double x) { sum += x * x; }
};

// Makes a result of the state behind `count` numbers.
template <typename State>
using FinishState = Value (*)(const State& state, u32 count);

constexpr u32 RUN_STEP = 64;  // numbers from one kept state to the next

template <typename State>
struct KeptRun {
    KeptItem item;
    u32 generation = 0;
    Array<State> states;  // behind 0, RUN_STEP, 2 * RUN_STEP, ... numbers
};

template <typename State>
constexpr char RUN_TAG = 0;  // its address names the state

template <typename State>
State WalkNumbers(const double* numbers, u32 count, State state = State()) {
    for (u32 i = 0; i < count; ++i) state.Add(numbers[i]);
    return state;
}

// The state behind the range from the states that are kept for where it begins. False when memory fails.
template <typename State>
bool RunThrough(const NumberRange& range, State& state) {
    KeptKey key = range.kept->item.key;
    key.kind = KEPT_RUN;
    key.where |= u64{range.begin} << 16;
    key.more = reinterpret_cast<std::uintptr_t>(&RUN_TAG<State>);
    KeptRun<State>* run = KeptRecord<KeptRun<State>>(key);
    if (!run) return false;
    if (run->generation != range.kept->generation) {
        run->generation = range.kept->generation;
        run->states.Truncate(0);
    }
    if (run->states.IsEmpty() && !run->states.Append(State())) return false;
    const double* numbers = range.Numbers();
    while (run->states.Count() * RUN_STEP <= range.Count()) {
        const u32 at = (run->states.Count() - 1) * RUN_STEP;
        if (!run->states.Append(WalkNumbers(numbers + at, RUN_STEP, run->states.Last()))) return false;
    }
    NoteKeptSize(run->item, sizeof(*run) + run->states.Capacity() * sizeof(State));
    const u32 at = range.Count() / RUN_STEP;
    state = WalkNumbers(numbers + at * RUN_STEP, range.Count() - at * RUN_STEP, run->states[at]);
    return true;
}

// The state behind numbers that add up exactly: the difference of two sums from the first number on.
inline bool ExactSum(const NumberRange& range, SumState& state) {
    NumberRange head = range;
    SumState through, before;
    head.begin = 0;
    if (!RunThrough(head, through)) return false;
    head.end = range.begin;
    if (!RunThrough(head, before)) return false;
    state.sum = through.sum - before.sum;
    return true;
}

// Sums the windows side by side as long as all of them last, then each to its end.
inline void SumWindows(const NumberRange* windows, double* sums) {
    u32 common = windows[0].Count();
    bool neighbours = true;
    for (u32 lane = 0; lane < LANES; ++lane) {
        common = std::min(common, windows[lane].Count());
        neighbours = neighbours && windows[lane].begin == windows[0].begin + lane;
    }
    if (neighbours) {
        AddNeighbours(sums, windows[0].Numbers(), common);
    } else {
        const double* numbers[LANES];
        for (u32 lane = 0; lane < LANES; ++lane) numbers[lane] = windows[lane].Numbers();
        AddApart(sums, numbers, common);
    }
    for (u32 lane = 0; lane < LANES; ++lane) {
        const NumberRange& window = windows[lane];
        sums[lane] = WalkNumbers(window.Numbers() + common, window.Count() - common, SumState{sums[lane]}).sum;
    }
}

// Answers this window and the next ones of its line. False when they leave what is kept.
inline bool AnswerLine(const NumberRange& range, AskedRows& line, FinishState<SumState> finish, Value& value) {
    NumberRange windows[LANES];
    for (i32 lane = 0; lane < i32{LANES}; ++lane) {
        // In the order in which they stand, so that neighbours are seen.
        NumberRange& window = windows[line.firstStep < 0 ? i32{LANES} - 1 - lane : lane];
        if (!PartOf(range, line.first + lane * line.firstStep, line.last + lane * line.lastStep, window))
            return false;
    }
    const void* tag = reinterpret_cast<const void*>(finish);
    double sums[LANES] = {};
    SumWindows(windows, sums);
    for (u32 lane = 0; lane < LANES; ++lane)
        RememberValue(windows[lane], tag, finish({sums[lane]}, windows[lane].Count()));
    line.first += (i32{LANES} - 1) * line.firstStep;
    line.last += (i32{LANES} - 1) * line.lastStep;
    return RecallValue(range, tag, value);
}

// What `finish` makes of the numbers of a taken range without errors.
template <typename State>
Value FinishRange(const NumberRange& range, FinishState<State> finish) {
    const void* tag = reinterpret_cast<const void*>(finish);
    State state;
    Value value;
    if constexpr (std::is_same_v<State, SumState>) {
        if (range.Count() > 2 * RUN_STEP && range.kept->exact.Holds() && ExactSum(range, state))
            return finish(state, range.Count());
    }
    if (BeganBefore(*range.kept, range.begin, tag) && RunThrough(range, state)) {
        value = finish(state, range.Count());
    } else {
        if constexpr (std::is_same_v<State, SumState>) {
            AskedRows* line = NextInLine(*range.kept, range.area.firstRow, range.area.lastRow, tag);
            if (line && AnswerLine(range, *line, finish, value)) return value;
        }
        value = finish(WalkNumbers<State>(range.Numbers(), range.Count()), range.Count());
    }
    RememberValue(range, tag, value);
    return value;
}

// From what is kept of an area; false when its cells must be read.
template <typename State>
bool KeptResult(NumberRange& range, FinishState<State> finish, Value& value) {
    if (RecallValue(range, reinterpret_cast<const void*>(finish), value)) return true;
    if (!TakeNumbers(range)) return false;
    if (range.error >= 0) {
        value = ErrorValue(range.error);
        RememberValue(range, reinterpret_cast<const void*>(finish), value);
    } else {
        value = FinishRange(range, finish);
    }
    return true;
}

}  // namespace tally
