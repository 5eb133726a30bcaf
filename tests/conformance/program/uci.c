// SPDX-License-Identifier: Apache-2.0
// UCI access, on a package that only these checks use.
#include "platform/zuutil.h"
#include "tests/conformance/program/contract.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <sys/wait.h>
#include <unistd.h>

#define PACKAGE "aerolink_conformance"
#define COUNT(array) (sizeof(array) / sizeof *(array))

static const char package_file[] = "/etc/config/" PACKAGE;
static const char delta_file[] = "/tmp/.uci/" PACKAGE;

static const char package_text[] = "config kind 'named'\n"
                                   "\toption plain 'a value'\n"
                                   "\tlist several 'one'\n"
                                   "\tlist several 'two three'\n"
                                   "\n"
                                   "config rule\n"
                                   "\toption number '1'\n"
                                   "\n"
                                   "config rule\n"
                                   "\toption number '2'\n";

void remove_uci_package(void) {
    unlink(delta_file);
    unlink(package_file);
}

// A context on the package as above, without uncommitted changes.
static struct zuci2_context *open_fresh(const char *text) {
    remove_uci_package();
    write_file(package_file, text);
    struct zuci2_context *ctx = zuci2_init();
    if (ctx == NULL)
        fail("zuci2_init gives null");
    return ctx;
}

static void expect_option(struct zuci2_context *ctx, const char *path, const char *expected) {
    struct platform_buffer buffer;
    clear_buffer(&buffer);
    expect_success(path, zuci2_get(ctx, path, buffer.text));
    expect_buffer(path, &buffer, expected);
}

static void expect_missing(struct zuci2_context *ctx, const char *path) {
    struct platform_buffer buffer;
    clear_buffer(&buffer);
    expect_error(path, zuci2_get(ctx, path, buffer.text));
    expect_untouched(path, &buffer);
}

// As another program finds the option that was set: in the file alone, or with the uncommitted changes.
static void expect_option_elsewhere(const char *path, const char *expected) {
    struct zuci2_context *ctx = zuci2_init();
    expect_option(ctx, path, expected);
    zuci2_free(ctx);
}

static void expect_durable(const char *path, const char *expected) {
    unlink(delta_file);
    expect_option_elsewhere(path, expected);
}

// --- Reading -------------------------------------------------------------------------------------

static void check_init(void) { zuci2_free(open_fresh(package_text)); }

static void check_get(void) {
    struct zuci2_context *ctx = open_fresh(package_text);
    expect_option(ctx, PACKAGE ".named.plain", "a value");
    expect_option(ctx, PACKAGE ".@kind[0].plain", "a value");
    expect_option(ctx, PACKAGE ".@rule[0].number", "1");
    expect_option(ctx, PACKAGE ".@rule[1].number", "2");
    zuci2_free(ctx);
}

static void check_get_list(void) {
    struct zuci2_context *ctx = open_fresh(package_text);
    expect_option(ctx, PACKAGE ".named.several", "one two three");
    zuci2_free(ctx);
}

static void check_get_missing(void) {
    struct zuci2_context *ctx = open_fresh(package_text);
    expect_missing(ctx, PACKAGE ".named.none");
    expect_missing(ctx, PACKAGE ".none.plain");
    expect_missing(ctx, PACKAGE ".@rule[2].number");
    expect_missing(ctx, PACKAGE "_none.named.plain");
    zuci2_free(ctx);
}

static void check_get_without_context(void) { expect_missing(NULL, PACKAGE ".named.plain"); }

static void check_get_long(void) {
    static const size_t lengths[] = {4095, 4096, 20000};
    static char value[20001];
    static char text[sizeof value + 100];
    for (size_t i = 0; i < COUNT(lengths); ++i) {
        memset(value, 'x', lengths[i]);
        value[lengths[i]] = '\0';
        snprintf(text, sizeof text, "config kind 'named'\n\toption plain '%s'\n", value);
        struct zuci2_context *ctx = open_fresh(text);
        value[PLATFORM_BUFFER_SIZE - 1] = '\0';
        expect_option(ctx, PACKAGE ".named.plain", value);
        zuci2_free(ctx);
    }
}

static void check_section_count(void) {
    struct zuci2_context *ctx = open_fresh(package_text);
    expect_int(PACKAGE ".@rule", zuci2_section_count(ctx, PACKAGE ".@rule"), 2);
    expect_int(PACKAGE ".@kind", zuci2_section_count(ctx, PACKAGE ".@kind"), 1);
    expect_int(PACKAGE ".@none", zuci2_section_count(ctx, PACKAGE ".@none"), 0);
    zuci2_free(ctx);
}

static void check_section_count_missing(void) {
    struct zuci2_context *ctx = open_fresh(package_text);
    expect_int(PACKAGE "_none.@rule", zuci2_section_count(ctx, PACKAGE "_none.@rule"), 0);
    zuci2_free(ctx);
}

// --- Writing -------------------------------------------------------------------------------------

static void check_set(void) {
    static const char *const values[] = {"other", "two words", "it's \"quoted\"", "$HOME `id` \\ ; #",
                                         "caf\xc3\xa9"};
    struct zuci2_context *ctx = open_fresh(package_text);
    for (size_t i = 0; i < COUNT(values); ++i) {
        expect_success("a set", zuci2_set(ctx, PACKAGE ".named.plain", values[i]));
        expect_option(ctx, PACKAGE ".named.plain", values[i]);
    }
    expect_success("a set", zuci2_set(ctx, PACKAGE ".@rule[1].added", "new"));
    expect_option(ctx, PACKAGE ".@rule[1].added", "new");
    expect_option(ctx, PACKAGE ".@rule[1].number", "2");
    zuci2_free(ctx);
}

static void check_set_section(void) {
    struct zuci2_context *ctx = open_fresh(package_text);
    expect_success("a set of a section", zuci2_set(ctx, PACKAGE ".created", "rule"));
    expect_int("the count of its type", zuci2_section_count(ctx, PACKAGE ".@rule"), 3);
    expect_success("a set in it", zuci2_set(ctx, PACKAGE ".created.number", "3"));
    expect_option(ctx, PACKAGE ".created.number", "3");
    zuci2_free(ctx);
}

static void check_set_without_section(void) {
    struct zuci2_context *ctx = open_fresh(package_text);
    expect_error("a set", zuci2_set(ctx, PACKAGE ".none.plain", "value"));
    expect_missing(ctx, PACKAGE ".none.plain");
    zuci2_free(ctx);
}

static void check_set_survives(void) {
    struct zuci2_context *ctx = open_fresh(package_text);
    const pid_t child = fork();
    if (child == 0) {
        struct zuci2_context *own = zuci2_init();
        const int result = zuci2_set(own, PACKAGE ".named.plain", "uncommitted");
        zuci2_free(own);
        _exit(result == 0 ? 0 : 1);
    }
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child || status != 0)
        fail("a set in another process fails");
    zuci2_free(ctx);
    expect_option_elsewhere(PACKAGE ".named.plain", "uncommitted");
}

static void check_set_then_command(void) {
    struct zuci2_context *ctx = open_fresh(package_text);
    expect_success("a set", zuci2_set(ctx, PACKAGE ".named.plain", "uncommitted"));
    zuci2_free(ctx);
    expect_success("\"uci commit\"", system("uci commit " PACKAGE));
    expect_durable(PACKAGE ".named.plain", "uncommitted");
}

static void check_delete(void) {
    struct zuci2_context *ctx = open_fresh(package_text);
    expect_success("a delete of an option", zuci2_delete(ctx, PACKAGE ".named.plain"));
    expect_missing(ctx, PACKAGE ".named.plain");
    expect_option(ctx, PACKAGE ".named.several", "one two three");
    expect_success("a delete of a section", zuci2_delete(ctx, PACKAGE ".named"));
    expect_missing(ctx, PACKAGE ".named.several");
    expect_int("the count of its type", zuci2_section_count(ctx, PACKAGE ".@kind"), 0);
    zuci2_free(ctx);
}

static void check_delete_missing(void) {
    struct zuci2_context *ctx = open_fresh(package_text);
    expect_success("a set", zuci2_set(ctx, PACKAGE ".named.plain", "uncommitted"));
    expect_error("a delete of a missing option", zuci2_delete(ctx, PACKAGE ".named.none"));
    expect_error("a delete of a missing section", zuci2_delete(ctx, PACKAGE ".none"));
    expect_option(ctx, PACKAGE ".named.plain", "uncommitted");
    expect_int("the count of rules", zuci2_section_count(ctx, PACKAGE ".@rule"), 2);
    zuci2_free(ctx);
}

static void check_commit(void) {
    struct zuci2_context *ctx = open_fresh(package_text);
    expect_success("a set", zuci2_set(ctx, PACKAGE ".named.plain", "committed"));
    expect_success("the commit", zuci2_commit(ctx, PACKAGE));
    zuci2_free(ctx);
    expect_durable(PACKAGE ".named.plain", "committed");
    expect_durable(PACKAGE ".@rule[1].number", "2");
}

// clang-format off
static const struct contract contracts[] = {
    {"zuci2_init",          "gives a context",                                               check_init},
    {"zuci2_get",           "gives an option of a named or selected section",                check_get},
    {"zuci2_get",           "joins the values of a list by one space",                       check_get_list},
    {"zuci2_get",           "takes a missing option for an error, the buffer is untouched",  check_get_missing},
    {"zuci2_get",           "takes a null context for an error, the buffer is untouched",    check_get_without_context},
    {"zuci2_get",           "cuts a value to 4096 bytes with its NUL",                       check_get_long},
    {"zuci2_section_count", "counts the sections of a type",                                 check_section_count},
    {"zuci2_section_count", "gives 0 for a missing package",                                 check_section_count_missing},
    {"zuci2_set",           "sets an option to any text",                                    check_set},
    {"zuci2_set",           "creates a section of a type",                                   check_set_section},
    {"zuci2_set",           "takes a missing section for an error that changes nothing",     check_set_without_section},
    {"zuci2_set",           "is seen by contexts opened later, without a commit",            check_set_survives},
    {"zuci2_set",           "is made durable by the command \"uci commit\"",                 check_set_then_command},
    {"zuci2_delete",        "deletes an option or a section",                                check_delete},
    {"zuci2_delete",        "takes what is missing for an error that changes nothing",       check_delete_missing},
    {"zuci2_commit",        "makes changes durable",                                         check_commit},
};
// clang-format on

const struct contract_list uci_contracts = {contracts, COUNT(contracts)};
