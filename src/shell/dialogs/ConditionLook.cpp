#include "shell/dialogs/ConditionLook.h"

#include "editing/AreaLook.h"

namespace tally {
namespace {

constexpr u8 SOLID = 1;

struct WeightRow {
    FormatField FormatRequest::*field;
    OverrideByte ConditionalCondition::*part;
};
constexpr WeightRow weightRows[] = {{&FormatRequest::bold, &ConditionalCondition::bold},
                                    {&FormatRequest::italic, &ConditionalCondition::italic},
                                    {&FormatRequest::underline, &ConditionalCondition::underline},
                                    {&FormatRequest::strikeout, &ConditionalCondition::strikeout}};

struct EdgeRow {
    EdgeField FormatRequest::*field;
    OverrideByte ConditionalCondition::*style;
    u8 ConditionalCondition::*colour;
};
constexpr EdgeRow edgeRows[] = {
    {&FormatRequest::topEdge, &ConditionalCondition::topStyle, &ConditionalCondition::topColour},
    {&FormatRequest::leftEdge, &ConditionalCondition::leftStyle, &ConditionalCondition::leftColour},
    {&FormatRequest::bottomEdge, &ConditionalCondition::bottomStyle, &ConditionalCondition::bottomColour},
    {&FormatRequest::rightEdge, &ConditionalCondition::rightStyle, &ConditionalCondition::rightColour}};

FormatField FieldOf(const OverrideByte& part) { return {part.present, part.value}; }
OverrideByte PartOf(const FormatField& field) { return {field.present, static_cast<u8>(field.value)}; }

// Of a solid fill the cells show the back colour, which the dialog calls the pattern's.
void ReadFill(FormatRequest& look, const ConditionalCondition& condition) {
    if (!condition.hasPattern) return;
    look.pattern = FieldOf(condition.pattern);
    look.patternColour = FieldOf(condition.patternColour);
    look.backColour = FieldOf(condition.backColour);
    // Files name a plain fill by its back colour alone, or a solid one by its fore colour alone.
    if (!look.pattern.present && look.backColour.present) look.pattern = {true, SOLID};
    if (look.pattern.present && look.pattern.value == SOLID && look.backColour.present)
        std::swap(look.patternColour, look.backColour);
}

void PutFill(ConditionalCondition& condition, FormatRequest look) {
    if (look.pattern.present && look.pattern.value == SOLID) std::swap(look.patternColour, look.backColour);
    condition.hasPattern = true;
    condition.pattern = PartOf(look.pattern);
    condition.patternColour = PartOf(look.patternColour);
    condition.backColour = PartOf(look.backColour);
}

}  // namespace

FormatRequest LookOfCondition(const ConditionalCondition& condition) {
    FormatRequest look;
    look.dialogOrder = true;
    for (const WeightRow& row : weightRows) look.*row.field = FieldOf(condition.*row.part);
    // The dialog names both at once.
    look.bold.present = look.italic.present = look.bold.present || look.italic.present;
    look.fontColour = {condition.hasFontColour, condition.fontColour};
    for (const EdgeRow& row : edgeRows) {
        const OverrideByte& style = condition.*row.style;
        if (condition.hasBorders) look.*row.field = {style.present, style.value, condition.*row.colour};
    }
    ReadFill(look, condition);
    return look;
}

void PutLook(ConditionalCondition& condition, const FormatRequest& touched) {
    FormatRequest look = LookOfCondition(condition);
    TakeFields(look, touched);
    for (const WeightRow& row : weightRows)
        if ((touched.*row.field).present) condition.*row.part = PartOf(touched.*row.field);
    if (touched.fontColour.present) {
        condition.hasFontColour = true;
        condition.fontColour = static_cast<u16>(touched.fontColour.value);
    }
    for (const EdgeRow& row : edgeRows) {
        const EdgeField& edge = touched.*row.field;
        if (!edge.present) continue;
        condition.hasBorders = true;
        condition.*row.style = {true, edge.style};
        condition.*row.colour = edge.colour;
    }
    if (touched.pattern.present || touched.patternColour.present || touched.backColour.present)
        PutFill(condition, look);
}

}  // namespace tally
