// SPDX-License-Identifier: Apache-2.0
// The options of the command `uci`.
#include "devkit/uci/command/options.h"

#include <utility>

#include <unistd.h>

namespace uci {

const char *const usage_text =
    "Usage: uci [OPTION]... COMMAND [ARGUMENT]...\n"
    "\n"
    "Commands:\n"
    "  get PACKAGE.SECTION[.OPTION]\n"
    "  set PACKAGE.SECTION[.OPTION]=VALUE\n"
    "  add PACKAGE TYPE\n"
    "  add_list PACKAGE.SECTION.OPTION=VALUE\n"
    "  del_list PACKAGE.SECTION.OPTION=VALUE\n"
    "  delete PACKAGE.SECTION[.OPTION[=NUMBER]]\n"
    "  rename PACKAGE.SECTION[.OPTION]=NAME\n"
    "  reorder PACKAGE.SECTION=PLACE\n"
    "  revert PACKAGE[.SECTION[.OPTION]]\n"
    "  show [PACKAGE[.SECTION[.OPTION]]]\n"
    "  export [PACKAGE]\n"
    "  import [PACKAGE]\n"
    "  changes [PACKAGE]\n"
    "  commit [PACKAGE]\n"
    "  batch\n"
    "  help\n"
    "\n"
    "A PACKAGE with a \"/\" is a file, whose changes go to it at once.\n"
    "\n"
    "Options:\n"
    "  -c DIR  configuration folder (/etc/config)\n"
    "  -C DIR  folder of files that stand in for those of the same name there (/var/run/uci)\n"
    "  -t DIR  folder that changes are recorded in (/tmp/.uci)\n"
    "  -p DIR  one more folder to read changes from, before that one\n"
    "  -P DIR  like -t, and read changes from the folder so far too; nothing is committed\n"
    "  -f FILE what import and batch read (standard input)\n"
    "  -m      import adds to the package and records the changes\n"
    "  -d STR  text between the values of a list (one space)\n"
    "  -n, -N  write the names of anonymous sections on export, or do not (default)\n"
    "  -s, -S  stop at a line that breaks the grammar (default), or pass over it\n"
    "  -q      no error messages\n"
    "  -X      no selectors in what show prints\n";

namespace {

void set_input(settings &result, const char *path) {
    if (!result.input.empty())
        throw command_error{"Too many input files."};
    result.input = path;
}

void apply_folder(settings &result, int letter, const char *folder) {
    switch (letter) {
    case 'c':
        result.where.config = folder;
        break;
    case 'C':
        result.where.overriding = folder;
        break;
    case 'p':
        result.where.search.emplace_back(folder);
        break;
    case 'P':
        result.where.search.push_back(std::exchange(result.where.delta, folder));
        result.commits = false;
        break;
    default:
        result.where.delta = folder;
    }
}

void apply_option(settings &result, int letter, const char *argument) {
    switch (letter) {
    case 'd':
        result.delimiter = argument;
        break;
    case 'f':
        set_input(result, argument);
        break;
    case 'm':
        result.merge = true;
        break;
    case 'n':
    case 'N':
        result.name_anonymous = letter == 'n';
        break;
    case 'q':
        result.quiet = true;
        break;
    case 's':
    case 'S':
        result.strict = letter == 's';
        break;
    case 'X':
        result.selectors = false;
        break;
    case '?':
        throw usage_error();
    default:
        apply_folder(result, letter, argument);
    }
}

} // namespace

settings parse_options(int count, char **words, std::vector<std::string> &operands) {
    settings result;
    result.where.overriding = "/var/run/uci";
    opterr = 0;
    // "+": what follows the command is its own, a value that begins with "-" included.
    for (int letter = 0; (letter = getopt(count, words, "+c:C:d:f:mnNp:P:qsSt:X")) != -1;)
        apply_option(result, letter, optarg);
    if (result.where.delta.empty())
        throw usage_error();
    operands.assign(words + optind, words + count);
    return result;
}

} // namespace uci
