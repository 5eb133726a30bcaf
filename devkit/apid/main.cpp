// SPDX-License-Identifier: Apache-2.0
// apid: the API daemon of the development kit.
#include "devkit/apid/access.h"
#include "devkit/apid/listener.h"
#include "devkit/apid/options.h"
#include "devkit/apid/routes.h"
#include "devkit/apid/server.h"
#include "devkit/apid/signals.h"
#include "devkit/apid/startup_error.h"
#include "devkit/apid/trace.h"

#include <cstdio>
#include <syslog.h>

using namespace apid;

namespace {

// The listening socket that the command line asks for; checks first that it may be served.
int open_socket(const options &chosen) {
    if (chosen.listen_fd)
        adopt_listener(*chosen.listen_fd);
    const endpoint where =
        chosen.listen_fd ? local_endpoint(*chosen.listen_fd) : parse_endpoint(chosen.listen);
    if (!is_loopback(where) && chosen.token_file.empty())
        throw startup_error(exit_usage,
                            to_text(where) + " is not a loopback address: --token-file must be given");
    return chosen.listen_fd ? *chosen.listen_fd : open_listener(where);
}

void run(const options &chosen) {
    const int listener = open_socket(chosen);
    const std::string token = chosen.token_file.empty() ? "" : read_token(chosen.token_file);
    for (const std::string &plugin : chosen.plugins)
        load_plugin(plugin);
    trace::keep_in(chosen.trace_file);
    install_signals();
    const std::string where = to_text(local_endpoint(listener));
    syslog(LOG_INFO, "listening on %s", where.c_str());
    std::printf("listening on http://%s\n", where.c_str());
    std::fflush(stdout);
    serve(listener, token, chosen.timeout);
    syslog(LOG_INFO, "stopped");
}

void report(const std::exception &error) {
    syslog(LOG_ERR, "%s", error.what());
    std::fprintf(stderr, "apid: %s\n", error.what());
}

} // namespace

int main(int argc, char **argv) {
    openlog("apid", LOG_PID, LOG_DAEMON);
    try {
        const options chosen = parse_options(argc, argv);
        if (chosen.help)
            std::fputs(usage, stdout);
        else
            run(chosen);
        return 0;
    } catch (const startup_error &error) {
        report(error);
        return error.exit_status;
    } catch (const std::exception &error) {
        report(error);
        return exit_failed;
    }
}
