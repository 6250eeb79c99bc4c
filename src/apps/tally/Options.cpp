#include "apps/tally/Options.h"

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <cstdio>

namespace tally {
namespace {

void AddCommands(CLI::App& app, Options& options) {
    const auto command = [&](const char* name, const char* what, Command value) {
        CLI::App* sub = app.add_subcommand(name, what);
        sub->callback([&options, value] { options.command = value; });
        sub->fallthrough();
        return sub;
    };
    CLI::App* sheets = command("sheets", "List the sheets of a book, a JSON line each", Command::Sheets);
    CLI::App* cells = command("cells", "List the stored cells, a JSON line each", Command::Cells);
    CLI::App* verify = command(
        "verify", "Calculate every formula anew and list what differs from the saved value", Command::Verify);
    CLI::App* convert =
        command("convert", "Convert a file to the form that OUT's extension names", Command::Convert);
    CLI::App* eval = command("eval", "Calculate one formula", Command::Eval);

    CLI::App* functions =
        command("functions", "List the functions and what they do here, a JSON line each", Command::Functions);

    CLI::App* replay = command("replay", "Do what a script of keys, clicks and commands says", Command::Replay);
    replay->add_option("SCRIPT", options.input, "The script, a step a line")->required();
    replay->add_option("--out", options.output, "Where the book is written at the end");
    for (CLI::App* sub : {sheets, cells, verify, convert}) {
        sub->add_option("IN", options.input, "The file to read; - for standard input with --from")->required();
    }
    convert->add_option("OUT", options.output, "The file to write; - for standard output with --to")
        ->required();
    eval->add_option("FORMULA", options.formula, "A formula such as =1+1")->required();
    for (CLI::App* sub : {cells, convert, eval}) sub->add_option("--sheet", options.sheet, "Name of a sheet");
    for (CLI::App* sub : {cells, convert}) {
        sub->add_flag("--recalculate", options.recalculate, "Calculate every formula first");
    }
    for (CLI::App* sub : {sheets, cells, verify, convert}) {
        sub->add_option("--from", options.from, "Form of standard input: xls, pxl, csv, txt");
    }
    convert->add_option("--to", options.to, "Form of standard output: xls, xlt, pxl, pxt, csv, txt");
    convert->add_option("--form", options.form,
                        "Form of a workbook: 97 or 95 (default: that of the book read)");
    for (CLI::App* sub : {convert, replay}) {
        sub->add_flag("--force", options.force, "Replace a file that another program changed meanwhile");
    }
    functions->add_flag("--document", options.document, "The list as a document (docs/functions.md)");
    eval->add_option("--book", options.book, "A book that the formula may refer to");
    replay->add_option("--book", options.book, "The book to begin with");
    eval->add_option("--cell", options.cell, "The cell that the formula stands in")->capture_default_str();
}

}  // namespace

bool ReadOptions(int count, char** arguments, Options& options, int& status) {
    CLI::App app{"Reads, calculates and converts workbooks", "tally"};
    app.set_version_flag("--version", "tally " TALLYMAN_VERSION);
    app.require_subcommand(1);
    AddCommands(app, options);
    app.add_option("--locale", options.locale, "Region such as en-US, zh-CN, de-DE (default: the environment)");
    app.add_option("--code-page", options.codePage, "Code page of text files and of books without one");
    app.add_option("--date", options.date, "A fixed clock: YYYY-MM-DDTHH:MM:SS");
    app.add_flag("--trust", options.trust, "Let a book's macros act outside the program");
    app.add_flag("--update-links", options.updateLinks, "Let formulas read other books");
    try {
        app.parse(count, arguments);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0) {
            // Help or the version was asked for.
            status = EXIT_GOOD;
            app.exit(error);
        } else {
            status = EXIT_USAGE;
            std::fprintf(stderr, "tally: %s (see tally --help)\n", error.what());
        }
        return false;
    }
    return true;
}

}  // namespace tally
