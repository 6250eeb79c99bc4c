#include "apps/tally/Options.h"

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include "apps/tally/Commands.h"
#include "base/MessageTable.h"

namespace tally {
namespace {

struct SubcommandRow {
    Command command;
    const char* name;
    u16 about;
    const char* example;
};
constexpr SubcommandRow subcommands[] = {
    {Command::Sheets, "sheets", MSG_TALLY_SHEETS, "tally sheets book.xls"},
    {Command::Cells, "cells", MSG_TALLY_CELLS, "tally cells book.xls --sheet Sheet1"},
    {Command::Verify, "verify", MSG_TALLY_VERIFY, "tally verify book.xls"},
    {Command::Convert, "convert", MSG_TALLY_CONVERT, "tally convert book.xls list.csv --sheet Sheet1"},
    {Command::Eval, "eval", MSG_TALLY_EVAL, "tally eval '=SUM(1,2,3)'"},
    {Command::Functions, "functions", MSG_TALLY_FUNCTIONS, "tally functions"},
    {Command::Replay, "replay", MSG_TALLY_REPLAY, "tally replay steps.txt --book book.xls --out new.xls"},
};

struct WordRow {
    const char* word;  // of the library
    u16 message;
};
constexpr WordRow words[] = {
    {"Usage", MSG_TALLY_WORD_USAGE},
    {"OPTIONS", MSG_TALLY_WORD_OPTIONS},
    {"Positionals", MSG_TALLY_WORD_POSITIONALS},
    {"SUBCOMMAND", MSG_TALLY_WORD_SUBCOMMAND},
    {"TEXT", MSG_TALLY_WORD_TEXT},
    {"UINT", MSG_TALLY_WORD_NUMBER},
    {"REQUIRED", MSG_TALLY_WORD_REQUIRED},
};

// The words of the help's parts; what is added to `app` afterwards takes them over.
void NameParts(CLI::App& app) {
    for (const WordRow& row : words) app.get_formatter()->label(row.word, MessageText(row.message));
    app.option_defaults()->group(MessageText(MSG_TALLY_WORD_OPTIONS_TITLE));
    app.set_help_flag("-h,--help", MessageText(MSG_TALLY_OPTION_HELP));
    app.set_version_flag("--version", "tally " TALLYMAN_VERSION, MessageText(MSG_TALLY_OPTION_VERSION));
    app.footer(MessageText(MSG_TALLY_EXAMPLE, "tally convert book.xls list.csv"));
}

void AddCommands(CLI::App& app, Options& options) {
    CLI::App* added[std::size(subcommands)] = {};
    for (std::size_t i = 0; i < std::size(subcommands); ++i) {
        const SubcommandRow& row = subcommands[i];
        CLI::App* sub = added[i] = app.add_subcommand(row.name, MessageText(row.about));
        sub->callback([&options, command = row.command] { options.command = command; });
        sub->group(MessageText(MSG_TALLY_WORD_SUBCOMMANDS));
        sub->get_help_ptr()->group(MessageText(MSG_TALLY_WORD_OPTIONS_TITLE));
        sub->footer(MessageText(MSG_TALLY_EXAMPLE, row.example));
        sub->fallthrough();
    }
    const auto [sheets, cells, verify, convert, eval, functions, replay] = added;
    replay->add_option("SCRIPT", options.input, MessageText(MSG_TALLY_REPLAY_SCRIPT))->required();
    replay->add_option("--out", options.output, MessageText(MSG_TALLY_REPLAY_OUT));
    for (CLI::App* sub : {sheets, cells, verify, convert})
        sub->add_option("IN", options.input, MessageText(MSG_TALLY_IN))->required();
    convert->add_option("OUT", options.output, MessageText(MSG_TALLY_OUT))->required();
    eval->add_option("FORMULA", options.formula, MessageText(MSG_TALLY_FORMULA))->required();
    for (CLI::App* sub : {cells, convert, eval})
        sub->add_option("--sheet", options.sheet, MessageText(MSG_TALLY_SHEET));
    for (CLI::App* sub : {cells, convert})
        sub->add_flag("--recalculate", options.recalculate, MessageText(MSG_TALLY_RECALCULATE));
    for (CLI::App* sub : {sheets, cells, verify, convert})
        sub->add_option("--from", options.from, MessageText(MSG_TALLY_FROM));
    convert->add_option("--to", options.to, MessageText(MSG_TALLY_TO));
    convert->add_option("--form", options.form, MessageText(MSG_TALLY_FORM));
    for (CLI::App* sub : {convert, replay})
        sub->add_flag("--force", options.force, MessageText(MSG_TALLY_FORCE));
    functions->add_flag("--document", options.document, MessageText(MSG_TALLY_DOCUMENT));
    eval->add_option("--book", options.book, MessageText(MSG_TALLY_EVAL_BOOK));
    replay->add_option("--book", options.book, MessageText(MSG_TALLY_REPLAY_BOOK));
    eval->add_option("--cell", options.cell, MessageText(MSG_TALLY_CELL))->capture_default_str();
}

void AddCommonOptions(CLI::App& app, Options& options) {
    app.add_option("--locale", options.locale, MessageText(MSG_TALLY_OPTION_LOCALE));
    app.add_option("--code-page", options.codePage, MessageText(MSG_TALLY_OPTION_CODE_PAGE));
    app.add_option("--date", options.date, MessageText(MSG_TALLY_OPTION_DATE));
    app.add_flag("--trust", options.trust, MessageText(MSG_TALLY_OPTION_TRUST));
    app.add_flag("--update-links", options.updateLinks, MessageText(MSG_TALLY_OPTION_UPDATE_LINKS));
}

// One line about a bad command line, with the way to the help.
int Advise(u16 message, const std::string& insert) {
    return ComplainOf(EXIT_USAGE, MSG_TALLY_SEE_HELP, MessageText(message, insert));
}

int TellMissing(CLI::App& app) {
    if (app.get_subcommands().empty()) {
        const std::vector<std::string> rest = app.remaining();
        if (rest.empty()) return Advise(MSG_TALLY_NO_SUBCOMMAND, {});
        return Advise(rest[0].starts_with('-') ? MSG_TALLY_EXTRA_ARGUMENT : MSG_TALLY_UNKNOWN_SUBCOMMAND,
                      rest[0]);
    }
    for (const CLI::Option* option : app.get_subcommands()[0]->get_options()) {
        if (option->get_required() && option->count() == 0)
            return Advise(MSG_TALLY_MISSING_ARGUMENT, option->get_name(true));
    }
    return Advise(MSG_TALLY_MISSING_ARGUMENT, "?");
}

// The library names the option in front of a colon, or behind it.
std::string BeforeColon(const std::string& text) { return text.substr(0, text.find(':')); }
std::string BehindColon(const std::string& text) {
    const std::size_t colon = text.find(": ");
    return colon == text.npos ? text : text.substr(colon + 2);
}

}  // namespace

bool ReadOptions(int count, char** arguments, Options& options, int& status) {
    CLI::App app{MessageText(MSG_TALLY_ABOUT), "tally"};
    NameParts(app);
    app.require_subcommand(1);
    AddCommands(app, options);
    AddCommonOptions(app, options);
    try {
        app.parse(count, arguments);
        return true;
    } catch (const CLI::Success& wish) {
        app.exit(wish);
        status = EXIT_GOOD;
    } catch (const CLI::RequiredError&) {
        status = TellMissing(app);
    } catch (const CLI::ExtrasError&) {
        const std::vector<std::string> rest = app.remaining(true);
        status = Advise(MSG_TALLY_EXTRA_ARGUMENT, rest.empty() ? "?" : rest[0]);
    } catch (const CLI::ArgumentMismatch& error) {
        status = Advise(MSG_TALLY_MISSING_VALUE, BeforeColon(error.what()));
    } catch (const CLI::ParseError& error) {
        status = Advise(MSG_TALLY_BAD_VALUE, BehindColon(error.what()));
    }
    return false;
}

}  // namespace tally
