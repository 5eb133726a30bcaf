// SPDX-License-Identifier: Apache-2.0
// Plays requests on the stage, in a world of the test's own.
#pragma once

#include "devkit/rehearsal/option_list.h"
#include "devkit/rehearsal/stage.h"

#include <gtest/gtest.h>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

// An effect that outlives its call.
struct effect {
    std::string text; // kind, outcome and everything else but the key, readable
    std::optional<std::string> key;
    std::string command; // of a command, else ""
    bool unforeseen;

    bool operator==(const effect &) const = default;
};

struct played {
    int result;
    std::string response; // JSON
    std::vector<effect> effects;
    std::vector<std::string> violations;
    int seconds;

    bool operator==(const played &) const = default;
};
std::ostream &operator<<(std::ostream &out, const played &play);

// Options by path.
using options = std::map<std::string, std::string>;

// One string member a key.
using request = std::map<std::string, std::string>;

class stage_test : public ::testing::Test {
protected:
    stage_test();
    ~stage_test() override;

    // Names the device; the repeater is down, the internet there.
    void set_device(const std::string &model, int radios = 2);

    void set_option(const std::string &path, const std::string &value);
    std::string option(const std::string &path) const; // "(unset)" when it is
    options configuration() const;

    // The content; "(missing)" when there is no such file.
    static std::string file(const std::string &path);
    static void put_file(const std::string &path, const std::string &content);

    // Plays the route with a JSON request, or one made of strings.
    static played play(const char *route, const std::string &json);
    static played play(const char *route, const request &members);

    option_list *list_;
    std::string model_;
};

inline constexpr char cloud_set[] = "/cloud/aerolink/batch_set";
inline constexpr char cloud_get[] = "/cloud/aerolink/batch_get";
inline constexpr char white_label_set[] = "/whiteboard/set_config";
inline constexpr char white_label_get[] = "/whiteboard/get_config";

// One model or two of each family and each way of its own, with the radios that decide for the others.
struct tested_model {
    const char *name;
    int radios;
};
extern const std::vector<tested_model> tested_models;

struct table_row {
    std::string table, path, key;
    const char *pattern; // null: no check
};

// The rows of every table, as they are now.
std::vector<table_row> all_rows();

// A value that the row accepts.
std::string accepted_value(const table_row &row);
