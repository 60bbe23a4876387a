// The part of the kit's run.cmd that a command file does badly: running one program with a time
// limit, and telling from its output what it proved. Works in the current folder: results go to
// report.txt, the program's output to output\NAME.txt, and the program runs in scratch\.
//
//     run_one run NAME SECONDS [contains=TEXT | like=NAME] PROGRAM [ARGUMENT...]
//     run_one skip NAME REASON...
//     run_one total
//
// A GoogleTest program gives one result for each of its tests, any other program one: it passes
// when it returns 0 and its output holds TEXT, or is that of the program NAME before it (but for
// the lines in which hosts tell how far they have come). `total` counts the results and returns 0
// when some passed and none failed.
#include <windows.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace {

namespace fs = std::filesystem;
using Lines = std::vector<std::string>;

constexpr char kReport[] = "report.txt";

// ---- The report ---------------------------------------------------------------------------------

void tell(const std::string& line) {
    std::ofstream(kReport, std::ios::app) << line << '\n';
    std::cout << line << std::endl;
}

// With what the program notes about the machine.
void passed(const std::string& name, const Lines& said) {
    tell("passed  " + name);
    for (const std::string& text : said) {
        if (text.starts_with("note: ")) tell("        " + text);
    }
}
void skipped(const std::string& name, const std::string& reason) {
    tell("skipped " + name + ": " + reason);
}
// What the program said is indented, so that it cannot pass for a result.
void failed(const std::string& name, const std::string& reason, const Lines& said = {}) {
    tell("failed  " + name + ": " + reason);
    constexpr std::size_t kMost = 60;
    for (std::size_t i = 0; i < std::min(said.size(), kMost); ++i) tell("        " + said[i]);
    if (said.size() > kMost) tell("        ...");
}

int total() {
    int passes = 0;
    int failures = 0;
    int skips = 0;
    std::ifstream report(kReport);
    for (std::string line; std::getline(report, line);) {
        passes += line.starts_with("passed  ");
        failures += line.starts_with("failed  ");
        skips += line.starts_with("skipped ");
    }
    report.close();
    tell(std::to_string(passes) + " passed, " + std::to_string(failures) + " failed, " +
         std::to_string(skips) + " skipped");
    return passes > 0 && failures == 0 ? 0 : 1;
}

// ---- Running ------------------------------------------------------------------------------------

struct End {
    bool started = false;
    bool in_time = false;
    DWORD code = 0;
};

std::wstring quoted(const std::wstring& argument) {
    return argument.find(L' ') == std::wstring::npos ? argument : L'"' + argument + L'"';
}

fs::path output_of(const std::string& name) {
    return fs::path("output") / (name + ".txt");
}

HANDLE open_inherited(const wchar_t* path, DWORD access, DWORD disposition) {
    SECURITY_ATTRIBUTES inherited = {sizeof inherited, nullptr, TRUE};
    return CreateFileW(path, access, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherited, disposition,
                       FILE_ATTRIBUTE_NORMAL, nullptr);
}

// Whatever the program has started ends with it.
End run(const std::wstring& command_line, DWORD seconds, const fs::path& output) {
    End end;
    const HANDLE input = open_inherited(L"NUL", GENERIC_READ, OPEN_EXISTING);
    const HANDLE out = open_inherited(output.c_str(), GENERIC_WRITE, CREATE_ALWAYS);
    const HANDLE job = CreateJobObjectW(nullptr, nullptr);
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
    limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
    SetInformationJobObject(job, JobObjectExtendedLimitInformation, &limits, sizeof limits);
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);  // inherited: no box waits

    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = input;
    startup.hStdOutput = out;
    startup.hStdError = out;
    PROCESS_INFORMATION process{};
    std::wstring changeable = command_line;
    if (CreateProcessW(nullptr, changeable.data(), nullptr, nullptr, TRUE, CREATE_SUSPENDED,
                       nullptr, L"scratch", &startup, &process)) {
        end.started = true;
        AssignProcessToJobObject(job, process.hProcess);
        ResumeThread(process.hThread);
        end.in_time = WaitForSingleObject(process.hProcess, seconds * 1000) == WAIT_OBJECT_0;
        if (!end.in_time) TerminateProcess(process.hProcess, 1);
        TerminateJobObject(job, 1);
        WaitForSingleObject(process.hProcess, INFINITE);
        GetExitCodeProcess(process.hProcess, &end.code);
        CloseHandle(process.hThread);
        CloseHandle(process.hProcess);
    } else {
        end.code = GetLastError();
    }
    CloseHandle(job);
    CloseHandle(out);
    CloseHandle(input);
    return end;
}

std::string how_it_ended(const End& end, DWORD seconds) {
    std::ostringstream text;
    if (!end.started) {
        text << "did not start, error " << end.code;
    } else if (!end.in_time) {
        text << "ended after " << seconds << " s, which is its limit";
    } else {
        text << "returned " << end.code;
        if (end.code > 255) text << " (0x" << std::hex << end.code << ")";
    }
    return text.str();
}

// ---- Judging ------------------------------------------------------------------------------------

Lines read_lines(const fs::path& path) {
    Lines lines;
    std::ifstream file(path, std::ios::binary);
    for (std::string line; std::getline(file, line);) {
        while (line.ends_with('\r')) line.pop_back();
        lines.push_back(line);
    }
    return lines;
}

// The test's name behind `tag`, when the line has it.
std::string named(const std::string& line, std::string_view tag) {
    const std::size_t at = line.find(tag);
    if (at == std::string::npos) return "";
    std::string name = line.substr(at + tag.size());
    return name.substr(0, name.find_first_of(" ,"));
}

// What was said with a skip, without the place in the source.
std::string reason_in(const Lines& said) {
    std::string reason;
    for (const std::string& line : said) {
        if (line.empty() || line.ends_with(": Skipped")) continue;
        reason += (reason.empty() ? "" : " ") + line;
    }
    return reason.empty() ? "no reason given" : reason;
}

void judge_tests(const std::string& program, const Lines& lines, const End& end,
                 const std::string& ending) {
    std::string running;
    Lines said;
    bool finished = false;
    int failures = 0;
    for (const std::string& line : lines) {
        finished |= line.starts_with("[==========]") && line.find(" ran.") != std::string::npos;
        if (const std::string started = named(line, "[ RUN      ] "); !started.empty()) {
            running = started;
            said.clear();
        } else if (running.empty()) {
            continue;
        } else if (!named(line, "[       OK ] ").empty()) {
            passed(program + " " + running, said);
            running.clear();
        } else if (!named(line, "[  SKIPPED ] ").empty()) {
            skipped(program + " " + running, reason_in(said));
            running.clear();
        } else if (!named(line, "[  FAILED  ] ").empty()) {
            failed(program + " " + running, "see below", said);
            ++failures;
            running.clear();
        } else {
            said.push_back(line);
        }
    }
    if (!running.empty()) {
        failed(program + " " + running, "the program " + ending + " in it", said);
    } else if (!finished || (end.code != 0 && failures == 0)) {
        failed(program, ending + " outside its tests", lines);
    }
}

// Without what hosts tell of their progress, which differs from run to run.
std::string results_of(const std::string& name) {
    std::string results;
    for (const std::string& line : read_lines(output_of(name))) {
        if (line.find(" matches in the first ") == std::string::npos) results += line + '\n';
    }
    return results;
}

int run_and_judge(const std::vector<std::wstring>& words) {
    const std::string name = fs::path(words[0]).string();
    const DWORD seconds = std::stoul(words[1]);
    std::size_t next = 2;
    std::string contains;
    std::string like;
    for (; next < words.size(); ++next) {
        const std::string word = fs::path(words[next]).string();
        if (word.starts_with("contains=")) {
            contains = word.substr(9);
        } else if (word.starts_with("like=")) {
            like = word.substr(5);
        } else {
            break;
        }
    }
    if (next == words.size()) return 2;
    const bool has_folder = fs::path(words[next]).has_parent_path();
    std::wstring line = quoted(has_folder ? fs::absolute(words[next]).wstring() : words[next]);
    for (++next; next < words.size(); ++next) line += L' ' + quoted(words[next]);

    const End end = run(line, seconds, output_of(name));
    const std::string ending = how_it_ended(end, seconds);
    const Lines lines = read_lines(output_of(name));
    const auto is_start = [](const std::string& text) {
        return text.starts_with("[==========] Run");
    };
    if (std::any_of(lines.begin(), lines.end(), is_start)) {
        judge_tests(name, lines, end, ending);
    } else if (!end.in_time || end.code != 0) {
        failed(name, ending, lines);
    } else if (results_of(name).find(contains) == std::string::npos) {
        failed(name, "did not say \"" + contains + '"', lines);
    } else if (!like.empty() && results_of(name) != results_of(like)) {
        failed(name, "gave other results than " + like, lines);
    } else {
        passed(name, lines);
    }
    return 0;
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
    const std::vector<std::wstring> words(argv + 1, argv + argc);
    try {
        if (words.size() == 1 && words[0] == L"total") return total();
        if (words.size() >= 4 && words[0] == L"run") {
            return run_and_judge({words.begin() + 1, words.end()});
        }
        if (words.size() >= 3 && words[0] == L"skip") {
            std::string reason;
            for (std::size_t i = 2; i < words.size(); ++i) {
                reason += (reason.empty() ? "" : " ") + fs::path(words[i]).string();
            }
            skipped(fs::path(words[1]).string(), reason);
            return 0;
        }
    } catch (const std::exception& failure) {
        tell(std::string("failed  run_one: ") + failure.what());
        return 1;
    }
    std::cerr << "run_one run NAME SECONDS [contains=TEXT | like=NAME] PROGRAM [ARGUMENT...]\n"
                 "run_one skip NAME REASON...\n"
                 "run_one total\n";
    return 2;
}
