#include "model/sentences.hpp"

namespace window {
namespace {

std::string names(std::uint32_t count, const NumberStyle& style) {
    return format_count(count, style) + (count == 1 ? " name" : " names");
}

/* A number of two digits and zeros that is less: what is known of it is only that there are more.
 */
std::uint32_t round_below(std::uint32_t number) {
    std::uint32_t unit = 1;
    while ((number - 1) / unit >= 100) unit *= 10;
    return (number - 1) / unit * unit;
}

std::string reading_words(std::uint32_t count, const IndexReport& report,
                          const NumberStyle& style) {
    return "Reading the disk: " + names(count, style) +
           (report.once_more ? ", then once more" : "");
}

}  // namespace

std::string empty_list_hint(const Question& question, const Phrasing& phrasing) {
    if (question.kind == ss::Kind::kFile) return "Only files are looked for.";
    if (question.kind == ss::Kind::kFolder) return "Only folders are looked for.";
    if (question.match_case) return "\"Match case\" is on.";
    const std::string& text = phrasing.words.front();
    const bool is_pattern = text.find_first_of("*?") != std::string::npos;
    if (is_pattern && !phrasing.whole_path && (text.front() != '*' || text.back() != '*')) {
        return "A pattern has to match the whole name: a * in front and at the end lets it be a "
               "part.";
    }
    if (is_pattern && text.back() != '*') {
        return "A pattern has to match to the end of the path: a * there stands for anything.";
    }
    if (phrasing.words.size() > 1) {
        return phrasing.whole_path ? "All of these words have to be in the path."
                                   : "All of these words have to be in the name: \"Whole path\" "
                                     "looks for them in the folders, too.";
    }
    if (question.text.find('"') != std::string::npos) {
        return "In quotes blanks count, and words stay in their order.";
    }
    return "A shorter text finds more.";
}

std::string answer_sentence(const Answer& answer, const NumberStyle& style) {
    const auto& [matched, bound] = answer.total;
    std::string sentence;
    if (matched > SS_MAX_RESULTS) {
        sentence = "The first " + format_count(SS_MAX_RESULTS, style) + " of " +
                   (bound == Bound::kExact ? "" : "more than ") +
                   format_count(bound == Bound::kExact ? matched : round_below(matched), style) +
                   (answer.sorted ? ", sorted among themselves" : "") +
                   ". Type more to narrow them down.";
    } else {
        sentence = bound == Bound::kMoreThan  ? "More than " + format_count(matched - 1, style)
                   : bound == Bound::kAtLeast ? "At least " + format_count(matched, style)
                                              : format_count(matched, style);
        sentence += " of " + names(answer.searched, style) + ", " +
                    format_milliseconds(answer.milliseconds, style);
    }
    if (matched == 0 && bound == Bound::kExact && !answer.empty_hint.empty()) {
        return sentence + ". " + answer.empty_hint;
    }
    if (matched == 0 && bound == Bound::kAtLeast) {
        return "Too many names have the three longest words. Make one of the words longer.";
    }
    if (answer.all_cases) return sentence;
    return sentence + (sentence.back() == '.' ? "" : ".") +
           " Not every upper and lower case was tried.";
}

std::string moment_words(int days_ago, const std::string& date, const std::string& time) {
    if (days_ago == 0) return "today, " + time;
    if (days_ago == 1) return "yesterday, " + time;
    return date + ", " + time;
}

std::string index_sentence(const IndexReport& report, const std::string& moment,
                           const std::string& scope, const NumberStyle& style) {
    std::string sentence;
    switch (report.phase) {
        case IndexPhase::kLoading:
            return moment.empty() ? "Loading the names" : "Loading the names of " + moment;
        case IndexPhase::kReading:
            return reading_words(report.entries, report, style);
        case IndexPhase::kReady:
            sentence = moment.empty() ? names(report.entries, style) : "Names of " + moment;
            if (report.limited) sentence += ", the most that the index holds";
            if (!report.trouble.empty()) {
                sentence += ". They could not be kept for the next time.";
            }
            break;
        case IndexPhase::kStopped:
            sentence = "Stopped after " + names(report.entries, style);
            break;
        case IndexPhase::kFailed:
            sentence = "Cannot read " + scope + ": " + report.trouble;
            break;
    }
    const bool has_stop = sentence.back() == '.';
    if (report.refreshing) {
        sentence += has_stop ? " " : ". ";
        sentence += reading_words(report.refreshed_entries, report, style);
    } else if (!report.refresh_trouble.empty()) {
        sentence += has_stop ? " " : ". ";
        sentence += "Not read anew: " + report.refresh_trouble;
    }
    return sentence;
}

std::string skipped_words(const IndexReport& report, const NumberStyle& style) {
    return report.skipped == 0 ? "" : format_count(report.skipped, style) + " skipped";
}

std::string index_details(const IndexReport& report, const std::string& moment,
                          const std::string& scope, const std::string& cache_path,
                          const NumberStyle& style) {
    std::string text = scope + ": " + names(report.entries, style) + ".\n" +
                       index_sentence(report, moment, scope, style);
    if (text.back() != '.') text += '.';
    text += "\n\n";
    if (report.skipped == 0) {
        text += "Nothing was skipped.";
    } else {
        text += format_count(report.skipped, style) +
                (report.skipped == 1 ? " item was skipped: " : " items were skipped: ") +
                "folders that may not be read, folders whose contents are not on this disk, and "
                "paths that are too long. This is usual.";
    }
    if (report.limited) {
        text += " The index is full: it holds at most 5,000,000 names or 1 GiB.";
    }
    text += "\n\nThe names are kept in " + cache_path;
    return text;
}

std::string vanished_sentence(const std::string& name) {
    return "\"" + name + "\" is not there any more.";
}

std::string not_opened_sentence(const std::string& name, const std::string& reason) {
    return "\"" + name + "\" could not be opened" + (reason.empty() ? "." : ": " + reason);
}

}  // namespace window
