// SPDX-License-Identifier: Apache-2.0
// How many requests the stage plays in a second, each in the same world and put back after it.
// usage: bench_stage PLUGIN [SECONDS]
#include "devkit/rehearsal/stage.h"
#include "devkit/rehearsal/option_list.h"

#include <json-c/json.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/resource.h>
#include <time.h>

static double now(void) {
    struct timespec time;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return (double)time.tv_sec + (double)time.tv_nsec / 1e9;
}

// A heron on which every option of its table holds a value.
static void set_world(struct option_list *list) {
    const struct stage_device device = {.model = "heron", .service_code = "ABCD1234"};
    const struct stage_uci uci = option_list_uci(list);
    stage_set_device(&device);
    stage_set_uci(&uci);
    stage_set_acting(true);
    size_t count = 0;
    const struct stage_table *tables = stage_tables(&count);
    for (size_t i = 0; i < count; i++) {
        bool known = strcmp(tables[i].name, "batch_list_common") == 0 ||
                     strcmp(tables[i].name, "batch_list_ardea") == 0;
        for (size_t row = 0; known && row < tables[i].row_count; row++) {
            option_list_put(list, tables[i].rows[row].uci_path, "held");
        }
    }
}

static void measure(const char *what, const char *json, double seconds) {
    struct json_object *request = json_tokener_parse(json);
    stage_handler *handler = stage_route("post", "/cloud/aerolink/batch_set");
    long plays = 0;
    double start = now();
    double end = start;
    for (; end - start < seconds; end = now()) {
        for (int i = 0; i < 100; i++, plays++) {
            stage_play(handler, request);
            stage_put_back();
        }
    }
    struct rusage usage;
    getrusage(RUSAGE_SELF, &usage);
    printf("%-26s %8.0f plays a second of processor time, peak %ld KiB\n", what,
           (double)plays / (end - start), usage.ru_maxrss);
    json_object_put(request);
}

int main(int argc, char **argv) {
    const char *error = argc > 1 ? stage_load(argv[1]) : "usage: bench_stage PLUGIN [SECONDS]";
    if (error) {
        fprintf(stderr, "%s\n", error);
        return EXIT_FAILURE;
    }
    double seconds = argc > 2 ? strtod(argv[2], NULL) : 2;
    struct option_list *list = option_list_new();
    set_world(list);
    stage_mark();
    measure("nothing asked", "{}", seconds);
    measure("two settings", "{\"2g_ssid\": \"Harbour Cafe\", \"2g_channel\": \"6\"}", seconds);
    measure(
        "ten settings",
        "{\"2g_ssid\": \"a\", \"5g_ssid\": \"b\", \"2g_key\": \"12345678\", \"5g_key\": \"12345678\", "
        "\"2g_channel\": \"6\", \"5g_channel\": \"36\", \"2g_htmode\": \"HT40\", \"5g_htmode\": \"VHT80\", "
        "\"2g_txpower\": \"high\", \"lan_ip\": \"192.168.9.1\"}",
        seconds);
    measure("a password", "{\"password\": \"new password\"}", seconds);
    stage_clear();
    option_list_free(list);
    return EXIT_SUCCESS;
}
