// SPDX-License-Identifier: Apache-2.0
// Text helpers.
#include "platform/zuutil.h"
#include "tests/conformance/program/contract.h"

#include <stdio.h>
#include <string.h>

#include <unistd.h>

#define COUNT(array) (sizeof(array) / sizeof *(array))

static void check_sha256(void) {
    static const struct {
        const char *text;
        const char *digest;
    } vectors[] = {
        {"", "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"},
        {"abc", "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
        {"abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq",
         "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1"},
    };
    for (size_t i = 0; i < COUNT(vectors); ++i) {
        struct platform_buffer digest;
        clear_buffer(&digest);
        sha256(vectors[i].text, digest.text);
        expect_buffer(vectors[i].text, &digest, vectors[i].digest);
        if (digest.text[65] != '~')
            fail("it writes more than 65 bytes");
    }
}

// Escapes the whole source into a buffer in which a byte too many shows.
static const char *escape(const char *source, struct platform_buffer *escaped) {
    const size_t length = strlen(source);
    clear_buffer(escaped);
    increase_escape_function(source, escaped->text, (int)length);
    const char *end = memchr(escaped->text, '\0', 2 * length + 1);
    if (end == NULL)
        fail("there is no NUL in 2 x length + 1 bytes");
    for (const char *byte = end + 1; byte < escaped->text + sizeof escaped->text; ++byte)
        if (*byte != '~')
            fail("it writes behind the NUL");
    return escaped->text;
}

// What the shell makes of the source when it stands, escaped, behind the command; at most 1023 bytes.
static const char *through_shell(const char *command, const char *source) {
    static char output[1024];
    struct platform_buffer escaped;
    char line[2048];
    snprintf(line, sizeof line, "%s %s", command, escape(source, &escaped));
    FILE *pipe = popen(line, "r");
    const size_t length = pipe != NULL ? fread(output, 1, sizeof output - 1, pipe) : 0;
    output[length] = '\0';
    if (pipe != NULL)
        pclose(pipe);
    return output;
}

static void check_escape_keeps_text(void) {
    char every[256];
    size_t length = 0;
    for (int byte = 1; byte < 256; ++byte)
        if (byte != '\n') // a line feed is what a backslash cannot keep
            every[length++] = (char)byte;
    every[length] = '\0';
    expect_text("a word of every byte", through_shell("printf %s", every), every);
    expect_text("a word of blanks", through_shell("printf %s", " \t "), " \t ");
    expect_text("echo", through_shell("echo", "America/Port-au-Prince; it's <-03>3 & $HOME"),
                "America/Port-au-Prince; it's <-03>3 & $HOME\n");
}

static void check_escape_is_safe(void) {
    static const char *const attacks[] = {
        "$(: >ran)",  "`: >ran`",        "; : >ran",    "| tee ran",      "&& : >ran",
        "& : >ran",   "> ran",           "\n: >ran\n",  "' ; : >ran ; '", "\" ; : >ran ; \"",
        "\\; : >ran", "${x:=$(: >ran)}", "\\$(: >ran)", "\\`: >ran\\`",   "# \n : >ran",
    };
    for (size_t i = 0; i < COUNT(attacks); ++i) {
        through_shell("echo", attacks[i]);
        if (access("ran", F_OK) == 0)
            fail("the shell runs the text \"%s\"", attacks[i]);
    }
}

static void check_escape_is_bounded(void) {
    struct platform_buffer buffer;
    char specials[1025];
    for (size_t i = 0; i < sizeof specials - 1; ++i)
        specials[i] = "'\"\\$`;&| "[i % 9];
    specials[sizeof specials - 1] = '\0';
    expect_int("the length of escaped specials", (long)strlen(escape(specials, &buffer)), 2048);
    expect_text("the empty text", escape("", &buffer), "");
    clear_buffer(&buffer);
    increase_escape_function("ab cd", buffer.text, 2);
    expect_text("two characters of \"ab cd\"", buffer.text, "ab");
}

static void check_upper(void) {
    char text[] = "aZ[`{@9\xe4";
    str_to_upper(text);
    expect_text("it", text, "AZ[`{@9\xe4");
}

static void check_lower(void) {
    char text[] = "aZ[`{@9\xc4";
    str_to_lower(text);
    expect_text("it", text, "az[`{@9\xc4");
}

// clang-format off
static const struct contract contracts[] = {
    {"sha256",                   "gives a digest of 64 lower-case digits and a NUL",           check_sha256},
    {"increase_escape_function", "keeps a text as one word of the shell",                      check_escape_keeps_text},
    {"increase_escape_function", "lets the shell run nothing of the text",                     check_escape_is_safe},
    {"increase_escape_function", "takes length characters, writes 2 x length + 1 at most",     check_escape_is_bounded},
    {"str_to_upper",             "changes the letters of ASCII in place",                      check_upper},
    {"str_to_lower",             "changes the letters of ASCII in place",                      check_lower},
};
// clang-format on

const struct contract_list text_contracts = {contracts, COUNT(contracts)};
