// SPDX-License-Identifier: Apache-2.0
// The command line of `plan`, `check`, `export` and `snapshot`.
#include "tools/plan/options.h"

#include "devkit/apid/request.h"
#include "tools/front/places.h"
#include "tools/plan/open_file.h"
#include "tools/plan/repeated.h"
#include "tools/plan/snapshot.h"

#include <cerrno>
#include <cstring>
#include <set>

#include <fcntl.h>
#include <getopt.h>
#include <unistd.h>

namespace plan {

namespace {

#define MODEL_OPTION "  --model MODEL       a device of this model, fresh from the factory\n"
#define DEVICE_OPTION                                                                                        \
    "  --device SNAPSHOT   this device: a folder with etc/config (a box's state too), a backup of "          \
    "sysupgrade,\n"                                                                                          \
    "                      the text of `uci export` (with --model), or a JSON object; - for standard "       \
    "input\n"
#define DEVICE_OPTIONS                                                                                       \
    MODEL_OPTION                                                                                             \
    "  --all-models        one of every model; so it is when nothing is asked for\n" DEVICE_OPTION

#define SHARED_OPTIONS                                                                                       \
    "  REQUEST             a file, - for standard input, or the JSON text itself\n" DEVICE_OPTIONS           \
    "  --route ROUTE       batch_set (so it is when none is given), set_config, or any other route\n"        \
    "  --json              as JSON objects, one a line\n"                                                    \
    "  --plugin FILE       the plug-in (aerolink.so of this installation when none is given)\n"              \
    "  --companion FILE    the companion plug-in, \"\" for none (that of the kit when none is given)\n"

std::string content_of(const std::string &path) {
    const descriptor file(path == "-" ? dup(STDIN_FILENO) : open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file)
        throw input_error(path + ": " + std::strerror(errno));
    std::optional<std::string> content;
    try {
        content = read_all(file, apid::max_body);
    } catch (const input_error &problem) {
        throw input_error(path + ": " + problem.what());
    }
    if (!content)
        throw input_error(path + ": larger than the " + std::to_string(apid::max_body) +
                          " bytes that the daemon takes");
    return std::move(*content);
}

bool is_text(const std::string &given) {
    const size_t first = given.find_first_not_of(" \t\r\n");
    return first != std::string::npos && (given[first] == '{' || given[first] == '[' || given[first] == '"');
}

void expect(bool holds, const char *otherwise) {
    if (!holds)
        throw input_error(otherwise);
}

void expect_one_kind_of_device(const plan_options &chosen) {
    expect(!chosen.all_models || (chosen.model.empty() && chosen.device.empty()),
           "--all-models excludes --model and --device");
}

void expect_agreement(const plan_options &chosen) {
    expect(!chosen.stream || (chosen.model.empty() && chosen.device.empty() && !chosen.all_models),
           "--stream reads its devices from standard input, and takes no other");
    expect_one_kind_of_device(chosen);
    expect(chosen.stream || !chosen.without_keys, "--without-keys is for --stream");
    expect(!chosen.checking || !chosen.without_keys, "--without-keys leaves nothing to check");
    expect(chosen.request || chosen.stream, "there is no request");
    expect(!chosen.stream || chosen.request != "-",
           "standard input cannot be both the stream and the request");
    expect(chosen.device != "-" || chosen.request != "-",
           "standard input cannot be both the device and the request");
}

enum : int {
    opt_model = 1,
    opt_all_models,
    opt_device,
    opt_route,
    opt_json,
    opt_stream,
    opt_without_keys,
    opt_plugin,
    opt_companion,
    opt_help
};

// An option's value is said once, and is there: an empty one is a script's variable that was not set.
void expect_value(const option &given, std::set<int> &said) {
    if (given.has_arg != required_argument)
        return;
    if (!said.insert(given.val).second)
        throw input_error(std::string("--") + given.name + " stands there twice");
    if (*optarg == '\0' && given.val != opt_companion)
        throw input_error(std::string("--") + given.name + " is empty");
}

void take(int found, plan_options &out) {
    switch (found) {
    case opt_model:
        out.model = optarg;
        break;
    case opt_all_models:
        out.all_models = true;
        break;
    case opt_device:
        out.device = optarg;
        break;
    case opt_route:
        out.route = optarg;
        break;
    case opt_json:
        out.json = true;
        break;
    case opt_without_keys:
        out.without_keys = true;
        break;
    case opt_stream:
        out.stream = true;
        break;
    case opt_plugin:
        out.plugin = optarg;
        break;
    case opt_companion:
        out.companion = optarg;
        break;
    default:
        out.help = true;
    }
}

// Reads the options, all of which these are; the first other word is at optind then.
plan_options parse(int count, char **words, const option *known) {
    plan_options result;
    result.plugin = installed_plugin();
    result.companion = installed_companion();
    std::set<int> said;
    int at = 0;
    opterr = 0;
    for (int found = 0; !result.help && (found = getopt_long(count, words, ":h", known, &at)) != -1;) {
        if (found == '?' || found == ':')
            throw input_error(std::string(words[optind - 1]) +
                              (found == ':' ? " needs a value" : " is no option here") + "; see aerolink " +
                              words[0] + " --help");
        if (found != 'h')
            expect_value(known[at], said);
        take(found, result);
    }
    return result;
}

} // namespace

const char *const plan_usage =
    "usage: aerolink plan [--model MODEL | --all-models | --device SNAPSHOT] [--route ROUTE] [--json] "
    "REQUEST\n"
    "       aerolink plan --stream [--route ROUTE] [REQUEST]\n"
    "\n"
    "Says what a request would do, without a router.\n"
    "\n" SHARED_OPTIONS "  --stream            one device a line on standard input, as a JSON object; one "
    "plan a line on standard output,\n"
    "                      in their order. Without REQUEST each line has its own, as \"request\" (and "
    "\"route\").\n"
    "  --without-keys      in a stream: the effects alone, without what became of each key; takes less time\n"
    "\n"
    "Exit status: 0; 1 for wrong use, or input that cannot be read.\n";

const char *const check_usage =
    "usage: aerolink check [--model MODEL | --all-models | --device SNAPSHOT] [--route ROUTE] [--json] "
    "REQUEST\n"
    "       aerolink check --stream [--route ROUTE] [REQUEST]\n"
    "\n"
    "Says nothing when every key of a request has an effect on every model asked, else which has none and "
    "why.\n"
    "\n" SHARED_OPTIONS "  --stream            one device a line on standard input, as a JSON object\n"
    "\n"
    "Exit status: 0; 3 when there is something to say; 1 for wrong use, or input that cannot be read.\n";

const char *const export_usage =
    "usage: aerolink export (--device SNAPSHOT | --model MODEL) [--json]\n"
    "\n"
    "Prints the request to batch_set that gives the device back the settings that it has now, and on "
    "standard "
    "error what no\n"
    "push can restore, with the reason. It may be sent to the device at any time: where nothing has changed, "
    "it "
    "changes nothing.\n"
    "\n" MODEL_OPTION DEVICE_OPTION
    "  --json              one JSON object: the request as \"batch\", what is not restored as "
    "\"lost\"\n"
    "  --plugin FILE       the plug-in (aerolink.so of this installation when none is given)\n"
    "\n"
    "Exit status: 0; 1 for wrong use, or input that cannot be read.\n";

const char *const snapshot_usage =
    "usage: aerolink snapshot [--model MODEL | --all-models | --device SNAPSHOT]\n"
    "\n"
    "Prints devices as JSON objects, one a line, as aerolink plan --stream takes them.\n"
    "\n" DEVICE_OPTIONS "\n"
    "Exit status: 0; 1 for wrong use, or input that cannot be read.\n";

plan_options parse_options(int count, char **words) {
    const option known[] = {{"model", required_argument, nullptr, opt_model},
                            {"all-models", no_argument, nullptr, opt_all_models},
                            {"device", required_argument, nullptr, opt_device},
                            {"route", required_argument, nullptr, opt_route},
                            {"json", no_argument, nullptr, opt_json},
                            {"stream", no_argument, nullptr, opt_stream},
                            {"without-keys", no_argument, nullptr, opt_without_keys},
                            {"plugin", required_argument, nullptr, opt_plugin},
                            {"companion", required_argument, nullptr, opt_companion},
                            {"help", no_argument, nullptr, opt_help},
                            {nullptr, 0, nullptr, 0}};
    plan_options result = parse(count, words, known);
    result.checking = std::strcmp(words[0], "check") == 0;
    if (result.help)
        return result;
    if (optind < count)
        result.request = words[optind++];
    if (optind < count)
        throw input_error(std::string("one request only, not also ") + words[optind]);
    expect_agreement(result);
    return result;
}

plan_options parse_export_options(int count, char **words) {
    const option known[] = {
        {"model", required_argument, nullptr, opt_model}, {"device", required_argument, nullptr, opt_device},
        {"json", no_argument, nullptr, opt_json},         {"plugin", required_argument, nullptr, opt_plugin},
        {"help", no_argument, nullptr, opt_help},         {nullptr, 0, nullptr, 0}};
    plan_options result = parse(count, words, known);
    expect(optind == count || result.help, "an export takes a device and no request");
    expect(!result.model.empty() || !result.device.empty() || result.help,
           "there is no device: --device or --model");
    return result;
}

plan_options parse_snapshot_options(int count, char **words) {
    const option known[] = {{"model", required_argument, nullptr, opt_model},
                            {"all-models", no_argument, nullptr, opt_all_models},
                            {"device", required_argument, nullptr, opt_device},
                            {"help", no_argument, nullptr, opt_help},
                            {nullptr, 0, nullptr, 0}};
    plan_options result = parse(count, words, known);
    if (optind < count && !result.help)
        throw input_error(std::string("what is ") + words[optind] + "?");
    expect_one_kind_of_device(result);
    return result;
}

json_owner read_request(const std::string &given, std::vector<std::string> &repeated) {
    expect(!given.empty(), "the request is empty");
    const bool is_file = given == "-" || !is_text(given);
    const std::string text = is_file ? content_of(given) : given;
    const std::string name = is_file ? given : "the request";
    try {
        json_owner request = parse_json(text, json_use::request);
        if (!json_object_is_type(request.get(), json_type_object))
            throw input_error("a request is a JSON object");
        repeated = repeated_members(text);
        return request;
    } catch (const input_error &problem) {
        throw input_error(name + ": " + problem.what());
    }
}

} // namespace plan
