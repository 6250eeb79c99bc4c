#include "journeys/Desk.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <thread>

extern char** environ;

namespace tally::journeys {
namespace {

// A slow machine may take its time; nothing waits longer than it must.
constexpr auto PATIENCE = std::chrono::seconds(20);
constexpr auto STEP = std::chrono::milliseconds(10);

struct DeskState {
    pid_t server = 0, manager = 0, program = 0, bus = 0, inputMethod = 0;
    std::string scratch;
};
DeskState desk;

template <typename Condition>
bool WaitFor(Condition condition, std::chrono::seconds patience = PATIENCE) {
    const auto end = std::chrono::steady_clock::now() + patience;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) return false;
        std::this_thread::sleep_for(STEP);
    }
    return true;
}

// Its output goes to `out`, or nowhere.
pid_t Spawn(const std::vector<std::string>& arguments, int out) {
    std::vector<char*> pointers;
    for (const std::string& argument : arguments) pointers.push_back(const_cast<char*>(argument.c_str()));
    pointers.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    if (out >= 0) posix_spawn_file_actions_adddup2(&actions, out, 1);
    else posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
    pid_t child = 0;
    if (posix_spawnp(&child, pointers[0], &actions, nullptr, pointers.data(), environ) != 0) child = 0;
    posix_spawn_file_actions_destroy(&actions);
    return child;
}

// A process that ends with this one, however that ends.
pid_t SpawnBound(std::vector<std::string> arguments, int out) {
    arguments.insert(arguments.begin(), {"setpriv", "--pdeathsig", "TERM"});
    return Spawn(arguments, out);
}

std::string ReadAll(int from) {
    std::string text;
    char buffer[512];
    for (ssize_t count; (count = read(from, buffer, sizeof buffer)) > 0;)
        text.append(buffer, static_cast<std::size_t>(count));
    return text;
}

int CodeOf(int status) { return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status); }

// True when the process ended by itself within the patience.
bool Ended(pid_t child, int& code) {
    int status = 0;
    if (!WaitFor([&] { return waitpid(child, &status, WNOHANG) == child; })) return false;
    code = CodeOf(status);
    return true;
}

void End(pid_t& child) {
    if (!child) return;
    kill(child, SIGTERM);
    int code = 0;
    if (!Ended(child, code)) kill(child, SIGKILL), waitpid(child, nullptr, 0);
    child = 0;
}

Output Tool(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {"timeout", "20", "xdotool"});
    return RunTool(arguments);
}

std::uint32_t BigEndian(const std::string& bytes, std::size_t at) {
    std::uint32_t number = 0;
    for (std::size_t i = at; i < at + 4 && i < bytes.size(); ++i)
        number = number << 8 | static_cast<unsigned char>(bytes[i]);
    return number;
}

bool CanRun(const std::string& name) { return RunTool({"sh", "-c", "command -v " + name}).code == 0; }

std::string FirstLine(const std::string& text) { return text.substr(0, text.find('\n')); }

// A process that tells in the first line of its output where it can be reached, once it can; empty when it
// ends before.
std::string StartTelling(const std::vector<std::string>& arguments, pid_t& child) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) return "";
    child = SpawnBound(arguments, ends[1]);
    close(ends[1]);
    std::string line;
    char unit = 0;
    while (read(ends[0], &unit, 1) == 1 && unit != '\n') line += unit;
    close(ends[0]);
    if (line.empty()) End(child);
    return line;
}

bool StartServer() {
    const std::string number =
        StartTelling({"Xvfb", "-displayfd", "1", "-screen", "0",
                      std::to_string(SCREEN_WIDTH) + "x" + std::to_string(SCREEN_HEIGHT) + "x24", "-nolisten",
                      "tcp", "-dpi", "96", "-fbdir", desk.scratch},
                     desk.server);
    setenv("DISPLAY", (":" + number).c_str(), 1);
    return !number.empty();
}

// Nothing has the keyboard before the window manager gives it, so it must be there first.
bool StartManager() {
    for (int tries = 0; tries < 3; ++tries) {
        desk.manager = SpawnBound({"matchbox-window-manager", "-use_titlebar", "no"}, -1);
        if (WaitFor([] { return Tool({"get_num_desktops"}).code == 0; }, std::chrono::seconds(10))) return true;
        End(desk.manager);
    }
    return false;
}

}  // namespace

Output RunTool(const std::vector<std::string>& arguments) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) return {};
    const pid_t child = Spawn(arguments, ends[1]);
    close(ends[1]);
    if (!child) {
        close(ends[0]);
        return {127, ""};
    }
    Output output;
    output.text = ReadAll(ends[0]);
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    output.code = CodeOf(status);
    return output;
}

bool OpenDisplay(std::string& missing) {
    for (const char* name : {"Xvfb", "xdotool", "matchbox-window-manager"})
        if (!CanRun(name)) missing += std::string(missing.empty() ? "" : ", ") + name;
    if (!missing.empty()) return false;
    std::string pattern = (std::filesystem::temp_directory_path() / "journey-XXXXXX").string();
    desk.scratch = mkdtemp(pattern.data());
    // Nothing of the user's own: settings, region and scale are those of a first start.
    setenv("HOME", desk.scratch.c_str(), 1);
    setenv("XDG_CONFIG_HOME", (desk.scratch + "/settings").c_str(), 1);
    setenv("XDG_STATE_HOME", (desk.scratch + "/state").c_str(), 1);
    setenv("XDG_RUNTIME_DIR", desk.scratch.c_str(), 1);
    setenv("DBUS_SESSION_BUS_ADDRESS", "disabled:", 1);
    setenv("LC_ALL", "C.UTF-8", 1);
    setenv("LANG", "en_US.UTF-8", 1);
    setenv("TALLYMAN_LANGUAGE", "zh", 1);
    setenv("QT_QPA_PLATFORM", "xcb", 1);
    setenv("GSETTINGS_BACKEND", "memory", 1);
    for (const char* name : {"QT_SCALE_FACTOR", "QT_STYLE_OVERRIDE", "QT_QPA_PLATFORMTHEME", "WAYLAND_DISPLAY",
                             "QT_IM_MODULE", "XMODIFIERS", "XDG_CACHE_HOME", "XDG_DATA_HOME"})
        unsetenv(name);
    if (!StartServer()) {
        missing = "a display: Xvfb does not start";
        return false;
    }
    if (StartManager()) return true;
    missing = "a window manager: matchbox-window-manager does not start";
    return false;
}

bool OpenBus(std::string& missing) {
    const std::string address =
        StartTelling({"dbus-daemon", "--session", "--nofork", "--print-address=1"}, desk.bus);
    if (address.empty()) missing = "a message bus: dbus-daemon does not start";
    else setenv("DBUS_SESSION_BUS_ADDRESS", address.c_str(), 1);
    return !address.empty();
}

bool OpenInputMethod(const std::string& engine) {
    // Nothing is kept, and no window shows the candidates.
    desk.inputMethod = SpawnBound({"ibus-daemon", "--panel", "disable", "--emoji-extension", "disable",
                                   "--config", "/usr/libexec/ibus-memconf"},
                                  -1);
    setenv("QT_IM_MODULE", "ibus", 1);
    return WaitFor([&] {
        RunTool({"timeout", "20", "ibus", "engine", engine});
        return FirstLine(RunTool({"timeout", "20", "ibus", "engine"}).text) == engine;
    });
}

void CloseInputMethod() {
    StopProgram();
    End(desk.inputMethod);
    End(desk.bus);
    setenv("DBUS_SESSION_BUS_ADDRESS", "disabled:", 1);
    unsetenv("QT_IM_MODULE");
}

void CloseDisplay() {
    CloseInputMethod();
    End(desk.manager);
    End(desk.server);
    // A daemon's children may still be writing there while they end.
    std::error_code error;
    if (!desk.scratch.empty())
        WaitFor([&] { return std::filesystem::remove_all(desk.scratch, error), !error; });
    desk = DeskState();
}

void StartProgram(const std::vector<std::string>& arguments) {
    std::vector<std::string> all = arguments;
    all.insert(all.begin(), TALLYMAN_PROGRAM);
    desk.program = SpawnBound(all, -1);
}

int ProgramEnd() {
    int code = -1;
    if (desk.program && Ended(desk.program, code)) desk.program = 0;
    return code;
}

void KillProgram() {
    if (!desk.program) return;
    kill(desk.program, SIGKILL);
    waitpid(desk.program, nullptr, 0);
    desk.program = 0;
}

void ForgetState() { std::filesystem::remove_all(desk.scratch + "/state"); }

void StopProgram() { End(desk.program); }

std::string Scratch() { return desk.scratch + "/"; }

void WriteBytes(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

void Press(const std::vector<std::string>& keys) {
    std::vector<std::string> arguments{"key", "--delay", "2"};
    arguments.insert(arguments.end(), keys.begin(), keys.end());
    Tool(arguments);
}

namespace {
// Visible windows of the program, popups included; each number ends with a line's end.
std::string Windows() { return Tool({"search", "--onlyvisible", "--class", "tallyman"}).text; }
}  // namespace

void PickFromMenu(const std::string& menu, const std::string& item) {
    const std::string before = Windows();
    std::string popup;
    Press({menu});
    WaitFor([&] {
        std::istringstream lines(Windows());
        for (std::string line; std::getline(lines, line);)
            if (before.find(line + "\n") == std::string::npos) popup = line + "\n";
        return !popup.empty();
    });
    Press({item});
    // What is typed while the popup has the keyboard would be lost with it.
    WaitFor([&] { return Windows().find(popup) == std::string::npos; });
}

void Type(const std::string& text) { Tool({"type", "--delay", "2", text}); }

void Click(int x, int y) { Tool({"mousemove", std::to_string(x), std::to_string(y), "click", "1"}); }

void Drag(int fromX, int fromY, int toX, int toY) {
    Tool({"mousemove", std::to_string(fromX), std::to_string(fromY), "mousedown", "1", "mousemove",
          std::to_string((fromX + toX) / 2), std::to_string((fromY + toY) / 2), "mousemove",
          std::to_string(toX), std::to_string(toY), "mouseup", "1"});
}

void Wheel(int x, int y, int notches) {
    Tool({"mousemove", std::to_string(x), std::to_string(y), "click", "--repeat",
          std::to_string(notches < 0 ? -notches : notches), "--delay", "2", notches < 0 ? "5" : "4"});
}

std::string Title() { return FirstLine(Tool({"getwindowfocus", "getwindowname"}).text); }

bool WaitForTitle(const std::string& title) {
    return WaitFor([&] { return Title() == title; });
}

bool WaitForOtherTitle(const std::string& title) {
    return WaitFor([&] { return Title() != title; }, std::chrono::seconds(1));
}

// The server keeps the screen in a file of the form of window dumps: numbers of 32 bits in front, then colours
// of 12 bytes, then the lines.
Picture Screen() {
    const std::string path = desk.scratch + "/Xvfb_screen0";
    std::string bytes(std::filesystem::file_size(path), '\0');
    std::ifstream(path, std::ios::binary).read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    constexpr std::size_t HEADER_SIZE = 0, HEIGHT = 20, LINE_BYTES = 48, COLOURS = 76;
    const std::size_t start = BigEndian(bytes, HEADER_SIZE) + BigEndian(bytes, COLOURS) * 12u;
    const std::size_t line = BigEndian(bytes, LINE_BYTES), height = BigEndian(bytes, HEIGHT);
    // A server that does not answer as expected gives a picture that never changes.
    if (line < SCREEN_WIDTH * 4u || bytes.size() < start + line * height) return Picture();
    return {bytes.substr(start, line * height), line};
}

bool WaitForOtherPicture(const Picture& before) {
    constexpr std::size_t CARET_WIDTH = 2, PIXEL = 4;
    return WaitFor([&] {
        const Picture now = Screen();
        std::set<std::size_t> different;
        if (now.lines == before.lines || now.lines.size() != before.lines.size()) return false;
        const char *left = now.lines.data(), *right = before.lines.data();
        for (std::size_t at = 0, end = now.lines.size(); at < end; ++at)
            if (left[at] != right[at]) different.insert(at % now.lineBytes / PIXEL);
        return different.size() > CARET_WIDTH;
    });
}

std::string SavedText(const std::string& path) {
    // A saved file takes its place whole.
    if (!WaitFor([&] { return std::filesystem::exists(path); })) return "";
    std::ifstream file(path, std::ios::binary);
    std::ostringstream bytes;
    bytes << file.rdbuf();
    return bytes.str();
}

}  // namespace tally::journeys
