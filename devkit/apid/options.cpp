// SPDX-License-Identifier: Apache-2.0
// The daemon's command line, read with getopt_long.
#include "devkit/apid/options.h"

#include "devkit/apid/startup_error.h"

#include <charconv>
#include <cstring>
#include <getopt.h>
#include <limits>

namespace apid {

const char *const usage =
    "usage: apid --plugin FILE [--plugin FILE ...] [--listen ADDRESS:PORT | --listen-fd N]\n"
    "            [--token-file FILE] [--timeout SECONDS] [--trace FILE]\n"
    "\n"
    "Loads route plug-ins and serves their routes over HTTP, one request at a time.\n"
    "\n"
    "  --plugin FILE          a plug-in; a name without a slash is a file of the current folder\n"
    "  --listen ADDRESS:PORT  a numeric address, 127.0.0.1:8080 unless given; [::1]:8080 for IPv6;\n"
    "                         port 0 takes any free port\n"
    "  --listen-fd N          serve the listening socket inherited as descriptor N\n"
    "  --token-file FILE      every request needs the header \"Authorization: Bearer TOKEN\" with the\n"
    "                         token in this file; must be given for an address that is not loopback\n"
    "  --timeout SECONDS      how long a client may take over a request, and over each part of its reply,\n"
    "                         1 to 3600; 30 unless given\n"
    "  --trace FILE           add a line for each request and reply to FILE, secrets included\n"
    "  --help                 this text\n"
    "\n"
    "Prints \"listening on http://ADDRESS:PORT\" when it is ready. Ends on SIGTERM or SIGINT, after\n"
    "having answered the requests that are complete.\n";

namespace {

int parse_number(const char *option, const char *text, int lowest, int highest) {
    int number = 0;
    const char *end = text + std::strlen(text);
    const auto [stop, error] = std::from_chars(text, end, number);
    if (error != std::errc() || stop != end || number < lowest || number > highest)
        throw startup_error(exit_usage, std::string(option) + ": not a number from " +
                                            std::to_string(lowest) + " to " + std::to_string(highest) + ": " +
                                            text);
    return number;
}

} // namespace

options parse_options(int argc, char **argv) {
    enum : int {
        opt_listen = 1,
        opt_listen_fd,
        opt_plugin,
        opt_token_file,
        opt_timeout,
        opt_trace,
        opt_help
    };
    const option known[] = {{"listen", required_argument, nullptr, opt_listen},
                            {"listen-fd", required_argument, nullptr, opt_listen_fd},
                            {"plugin", required_argument, nullptr, opt_plugin},
                            {"token-file", required_argument, nullptr, opt_token_file},
                            {"timeout", required_argument, nullptr, opt_timeout},
                            {"trace", required_argument, nullptr, opt_trace},
                            {"help", no_argument, nullptr, opt_help},
                            {nullptr, 0, nullptr, 0}};
    options result;
    bool listen_given = false;
    for (int found = 0; (found = getopt_long(argc, argv, "", known, nullptr)) != -1;) {
        switch (found) {
        case opt_listen:
            result.listen = optarg;
            listen_given = true;
            break;
        case opt_listen_fd:
            result.listen_fd = parse_number("--listen-fd", optarg, 0, std::numeric_limits<int>::max());
            break;
        case opt_plugin:
            result.plugins.emplace_back(optarg);
            break;
        case opt_token_file:
            result.token_file = optarg;
            break;
        case opt_timeout:
            result.timeout = std::chrono::seconds(parse_number("--timeout", optarg, 1, 3600));
            break;
        case opt_trace:
            result.trace_file = optarg;
            break;
        case opt_help:
            result.help = true;
            return result;
        default: // getopt_long has named the option
            throw startup_error(exit_usage, "try apid --help");
        }
    }
    if (optind < argc)
        throw startup_error(exit_usage, std::string("not an option: ") + argv[optind]);
    if (listen_given && result.listen_fd)
        throw startup_error(exit_usage, "--listen and --listen-fd exclude each other");
    if (result.plugins.empty())
        throw startup_error(exit_usage, "no --plugin given");
    return result;
}

} // namespace apid
