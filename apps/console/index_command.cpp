#include "build.hpp"
#include "commands.hpp"
#include "interrupt.hpp"
#include "model/json.hpp"
#include "model/sentences.hpp"

namespace console {
namespace {

int exit_status(const Build& build) {
    switch (build.status().state) {
        // Ready with an error text: the cache that was asked for is not there.
        case SS_ENGINE_READY:
            return build.error().empty() ? kFound : kTrouble;
        case SS_ENGINE_CANCELLED:
            return kInterrupted;
        default:
            return kTrouble;
    }
}

}  // namespace

int run_index(const Request& request, Streams streams) {
    Build build;
    if (!build.start(request)) {
        streams.complain(build.error());
        return kTrouble;
    }
    {
        ProgressLine progress(streams.err, !request.quiet);
        build.wait(progress);
    }
    const EngineStatus& status = build.status();
    if (request.format == Format::kJson) {
        streams.out.write(build_json(status, build.milliseconds(), build.error()));
    } else if (!request.quiet && status.state != SS_ENGINE_FAILED) {
        streams.out.write(build_summary(status, build.milliseconds()) + '\n');
    }
    streams.out.flush();
    if (!build.error().empty()) {
        streams.complain(build_trouble(status, request.folder, request.cache, build.error()));
    }
    return exit_status(build);
}

}  // namespace console
