// SPDX-License-Identifier: Apache-2.0
// Checks a device's platform libraries against the contracts of platform/*.h, on the device: one line a
// contract.
#include "tests/conformance/program/contract.h"
#include "tests/conformance/program/verdict.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

enum { SECONDS_FOR_A_CHECK = 30 };

struct options options;

static char work_folder[] = "/tmp/aerolink-conformance.XXXXXX";
static volatile sig_atomic_t running_check; // its process; 0 between checks
static volatile sig_atomic_t stopped_by;    // the signal; 0 while the program is to go on

static void usage(FILE *stream) {
    fputs(
        "usage: conformance [--repeater up|down] [--interface NAME SSID]\n"
        "\n"
        "Checks this device's platform libraries, as root. Prints a line for each contract of the platform\n"
        "interface: ok, FAIL or skipped. Ends with 0, or with 1 when a contract is broken. The UCI package\n"
        "aerolink_conformance and a folder in /tmp are made for the checks and removed after them.\n"
        "\n"
        "  --repeater up|down      says whether the repeater uplink is up, so that the libraries' answer is "
        "checked\n"
        "  --interface NAME SSID   lets the driver's private settings be checked: sets the network name of "
        "the\n"
        "                          running interface NAME to SSID; name the one that it has\n",
        stream);
}

// False for words that make no sense. Function names are left to main, from *names on.
static bool parse(int count, char **words, int *names) {
    int i = 1;
    for (; i < count && strncmp(words[i], "--", 2) == 0; ++i) {
        if (strcmp(words[i], "--repeater") == 0 && i + 1 < count) {
            options.repeater = words[++i];
            if (strcmp(options.repeater, "up") != 0 && strcmp(options.repeater, "down") != 0)
                return false;
        } else if (strcmp(words[i], "--interface") == 0 && i + 2 < count) {
            options.interface = words[++i];
            options.ssid = words[++i];
        } else {
            return false;
        }
    }
    *names = i;
    return true;
}

// --- The work folder -----------------------------------------------------------------------------

static void empty_work_folder(void) {
    DIR *folder = opendir(".");
    if (folder == NULL)
        return;
    for (const struct dirent *entry = NULL; (entry = readdir(folder)) != NULL;)
        unlink(entry->d_name);
    closedir(folder);
}

static void clean_up(void) {
    remove_uci_package();
    empty_work_folder();
    rmdir(work_folder);
}

// Ends the check that runs, and after it the program, which then cleans up.
static void stop(int number) {
    stopped_by = number;
    if (running_check > 0)
        kill(running_check, SIGKILL);
}

static void handle_signals(void (*handler)(int)) {
    signal(SIGHUP, handler);
    signal(SIGINT, handler);
    signal(SIGTERM, handler);
}

static bool enter_work_folder(void) {
    if (mkdtemp(work_folder) == NULL || chdir(work_folder) != 0) {
        perror(work_folder);
        return false;
    }
    handle_signals(stop);
    return true;
}

// --- Running a check -----------------------------------------------------------------------------

static void run_check(const struct contract *contract, int report) {
    handle_signals(SIG_DFL);
    set_report(report);
    alarm(SECONDS_FOR_A_CHECK);
    contract->check();
    _exit(KEPT);
}

// The verdict, with the check's report in text.
static enum verdict verdict_of(int status, char *text) {
    if (WIFEXITED(status) && WEXITSTATUS(status) <= SKIPPED)
        return (enum verdict)WEXITSTATUS(status);
    if (WIFEXITED(status))
        snprintf(text, REPORT_SIZE, "the process ended with status %d", WEXITSTATUS(status));
    else if (WTERMSIG(status) == SIGALRM)
        snprintf(text, REPORT_SIZE, "no end after %d seconds", SECONDS_FOR_A_CHECK);
    else
        snprintf(text, REPORT_SIZE, "crashed: %s", strsignal(WTERMSIG(status)));
    return BROKEN;
}

// Runs the check in a process of its own, so that a library that crashes or hangs fails one line.
static enum verdict run(const struct contract *contract, char *text) {
    int report[2];
    if (pipe(report) != 0 || fcntl(report[0], F_SETFL, O_NONBLOCK) != 0 ||
        fcntl(report[1], F_SETFD, FD_CLOEXEC) != 0) {
        snprintf(text, REPORT_SIZE, "no pipe for the check");
        return BROKEN;
    }
    fflush(stdout);
    const pid_t child = fork();
    if (child == 0)
        run_check(contract, report[1]);
    running_check = child;
    int status = 0;
    const bool ended = child > 0 && waitpid(child, &status, 0) == child;
    running_check = 0;
    const ssize_t length = read(report[0], text, REPORT_SIZE - 1);
    text[length > 0 ? length : 0] = '\0';
    close(report[0]);
    close(report[1]);
    if (!ended) {
        snprintf(text, REPORT_SIZE, "no process for the check");
        return BROKEN;
    }
    return verdict_of(status, text);
}

static void print_line(const struct contract *contract, enum verdict verdict, const char *text) {
    static const char *const words[] = {"ok", "FAIL", "skipped"};
    printf("%-8s%s %s%s%s\n", words[verdict], contract->function, contract->promise,
           *text != '\0' ? ": " : "", text);
}

static bool names_function(char **names, const char *function) {
    bool found = *names == NULL;
    for (; *names != NULL && !found; ++names)
        found = strcmp(*names, function) == 0;
    return found;
}

// Adds the verdicts of a list's contracts, of all functions or of those that are named, to counts.
static void run_list(const struct contract_list *list, char **names, int *counts) {
    for (size_t i = 0; i < list->count && stopped_by == 0; ++i) {
        const struct contract *contract = &list->contracts[i];
        if (!names_function(names, contract->function))
            continue;
        char text[REPORT_SIZE];
        const enum verdict verdict = run(contract, text);
        if (stopped_by != 0)
            return;
        ++counts[verdict];
        print_line(contract, verdict, text);
    }
}

int main(int count, char **words) {
    int names = 0;
    if (!parse(count, words, &names)) {
        usage(stderr);
        return 2;
    }
    if (!enter_work_folder())
        return 2;
    const struct contract_list lists[] = {uci_contracts, json_contracts, command_contracts, device_contracts,
                                          text_contracts};
    int counts[] = {0, 0, 0};
    for (size_t i = 0; i < sizeof lists / sizeof *lists; ++i)
        run_list(&lists[i], words + names, counts);
    clean_up();
    if (stopped_by != 0)
        return 128 + stopped_by;
    printf("%d kept, %d broken, %d skipped\n", counts[KEPT], counts[BROKEN], counts[SKIPPED]);
    if (counts[KEPT] + counts[BROKEN] + counts[SKIPPED] == 0)
        return 2; // no function of the platform was named
    return counts[BROKEN] == 0 ? 0 : 1;
}
