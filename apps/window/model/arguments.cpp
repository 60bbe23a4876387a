#include "model/arguments.hpp"

namespace window {

Arguments parse_arguments(const std::vector<std::string>& words) {
    Arguments arguments;
    for (std::size_t i = 0; i < words.size(); ++i) {
        const std::string& word = words[i];
        if (word == "--version") {
            arguments.version = true;
            continue;
        }
        if (word != "--scope" && word != "--measure" && word != "--settings") {
            arguments.trouble = "\"" + word + "\" is not understood.";
            return arguments;
        }
        if (i + 1 == words.size() || words[i + 1].empty()) {
            arguments.trouble = "Something has to follow " + word + ".";
            return arguments;
        }
        const std::string& value = words[++i];
        if (word == "--scope") arguments.scope = value;
        if (word == "--measure") arguments.measure = value;
        if (word == "--settings") arguments.settings = value;
    }
    return arguments;
}

}  // namespace window
