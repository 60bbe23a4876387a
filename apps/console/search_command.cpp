#include <algorithm>

#include "build.hpp"
#include "commands.hpp"
#include "interrupt.hpp"
#include "line_input.hpp"
#include "model/sentences.hpp"
#include "query.hpp"
#include "report.hpp"

namespace console {
namespace {

constexpr std::uint32_t kLimitAtPrompt = 20;

/* One run of the command: a build, and the queries made on it. */
class Search {
public:
    Search(const Request& request, Streams streams) : request_(request), streams_(streams) {}

    int run() {
        if (!build_.start(request_)) {
            streams_.complain(build_.error());
            return kTrouble;
        }
        return request_.text ? answer_once(*request_.text) : answer_lines();
    }

private:
    int answer_once(const std::string& text) {
        if (!wait_for_build()) return end_without_index();
        if (!answer(text, SS_MAX_RESULTS)) return kTrouble;
        return exit_status();
    }

    int answer_lines() {
        LineInput input;
        // Who types sees what an incomplete index means, and asks again; a script cannot.
        const bool waits = !input.is_terminal() && !request_.now;
        if (waits && !wait_for_build()) return end_without_index();
        const std::uint32_t limit = input.is_terminal() ? kLimitAtPrompt : SS_MAX_RESULTS;
        std::string line;
        for (std::uint64_t number = 1;; ++number) {
            if (input.is_terminal()) prompt(input);
            const LineInput::Outcome outcome = input.read_line(line);
            if (outcome == LineInput::kEnd || is_interrupted()) break;
            tell_build_end();
            if (build_.status().state == SS_ENGINE_FAILED) return kTrouble;
            if (outcome == LineInput::kMalformed) {
                complain("Line " + std::to_string(number) + " is not UTF-8 text.");
            } else if (!line.empty()) {
                answer(line, limit);
            }
            if (streams_.out.failed()) break;
        }
        if (is_interrupted()) return kInterrupted;
        tell_build_end();
        return build_.status().state == SS_ENGINE_FAILED ? kTrouble : exit_status();
    }

    /* Returns true when there is an index to search. */
    bool wait_for_build() {
        {
            ProgressLine progress(streams_.err, !request_.quiet);
            build_.wait(progress);
        }
        tell_build_end();
        return build_.status().state == SS_ENGINE_READY;
    }

    int end_without_index() {
        return build_.status().state == SS_ENGINE_CANCELLED ? kInterrupted : kTrouble;
    }

    /* Says once how the build ended, when it has: on a terminal in full, elsewhere only what is
       wrong. */
    void tell_build_end() {
        if (is_end_told_ || build_.poll().state == SS_ENGINE_RUNNING) return;
        is_end_told_ = true;
        const EngineStatus& status = build_.status();
        const bool is_worth_telling =
            streams_.err.is_terminal() || status.state == SS_ENGINE_CANCELLED || status.limited;
        if (!request_.quiet && is_worth_telling && status.state != SS_ENGINE_FAILED) {
            streams_.err.write(build_summary(status, build_.milliseconds()) + '\n');
        }
        if (!build_.error().empty()) {
            // A cache that could not be written does not spoil the answers.
            streams_.complain(
                build_trouble(status, request_.folder, request_.cache, build_.error()));
        }
        streams_.err.flush();
    }

    /* Shows the prompt, and before it the build's progress until somebody types. */
    void prompt(const LineInput& input) {
        static constexpr const char* kPrompt = "search> ";
        ProgressLine line(streams_.err, /*is_wanted=*/true);
        while (build_.poll().state == SS_ENGINE_RUNNING && !input.is_key_waiting()) {
            if (!request_.quiet) {
                line.show(progress_text(build_.status(), build_.milliseconds() / 1000) + "  " +
                          kPrompt);
            }
            if (wait_or_interrupt(100)) return;
        }
        line.clear();
        tell_build_end();
        if (build_.status().state == SS_ENGINE_FAILED) return;
        streams_.err.write(kPrompt);
        streams_.err.flush();
    }

    bool answer(std::string text, std::uint32_t default_limit) {
        std::replace(text.begin(), text.end(), '\\', '/');
        const std::uint32_t limit = request_.limit.value_or(default_limit);
        Answer answer = {};
        answer.text = text;
        const QueryEnd end = ask(
            [&] {
                return ss_query(build_.engine(), text.c_str(), request_.match_flags, request_.kind,
                                static_cast<std::int32_t>(limit));
            },
            answer);
        if (end == QueryEnd::kInterrupted) return true;
        if (end != QueryEnd::kDone) {
            complain(end == QueryEnd::kFailed ? "The search failed."
                                              : "The search could not be started.");
            return false;
        }
        has_found_ = has_found_ || answer.status.matched != 0;
        report_answer(request_, answer, incomplete_reason(build_.poll()), streams_);
        return true;
    }

    void complain(const std::string& sentence) {
        streams_.complain(sentence);
        streams_.err.flush();
        has_trouble_ = true;
    }

    int exit_status() const {
        if (is_interrupted()) return kInterrupted;
        if (has_trouble_) return kTrouble;
        return has_found_ ? kFound : kNothingFound;
    }

    const Request& request_;
    Streams streams_;
    Build build_;
    bool is_end_told_ = false;
    bool has_found_ = false;
    bool has_trouble_ = false;
};

}  // namespace

int run_search(const Request& request, Streams streams) {
    return Search(request, streams).run();
}

}  // namespace console
