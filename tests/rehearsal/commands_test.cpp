// SPDX-License-Identifier: Apache-2.0
// Commands that act on the world: the plug-in runs one of each form that the stage knows, and no other one
// that holds a text from outside.
#include "tests/rehearsal/play.h"

#include <json-c/json.h>

namespace {

class commands_test : public stage_test {
protected:
    commands_test() {
        set_device("heron");
        stage_set_acting(true);
    }

    // The effects that only a shell could tell more about.
    static std::vector<std::string> unforeseen(const played &play) {
        std::vector<std::string> commands;
        for (const effect &one : play.effects)
            if (one.unforeseen)
                commands.push_back(one.command);
        return commands;
    }
};

// "echoed.json" has what the router's shell makes of a value between double quotes, null for what only a
// shell can tell. tests/plan sends the same values to a router in a box.
TEST_F(commands_test, the_reboot_flag_is_written_as_the_shell_writes_it) {
    json_object *cases = json_object_from_file(ECHOED);
    ASSERT_GT(json_object_array_length(cases), 0U);
    for (size_t i = 0; i < json_object_array_length(cases); ++i) {
        json_object *one = json_object_array_get_idx(cases, i);
        const char *value = json_object_get_string(json_object_array_get_idx(one, 0));
        const char *written = json_object_get_string(json_object_array_get_idx(one, 1));
        SCOPED_TRACE(value);
        put_file("/tmp/reboot_flag", "before\n");
        const played play = stage_test::play(cloud_set, request{{"reboot_flag", value}});
        EXPECT_EQ(file("/tmp/reboot_flag"), written != nullptr ? written : "before\n");
        EXPECT_EQ(unforeseen(play).size(), written != nullptr ? 0U : 1U) << play;
    }
    json_object_put(cases);
}

TEST_F(commands_test, a_read_answers_with_the_reboot_flag_inverted) {
    for (const auto &[content, reported] :
         {std::pair("1\n", "0"), {"0\n", "1"}, {"\n1\n", "0"}, {"0", "1"}, {"", "0"}}) {
        SCOPED_TRACE(content);
        set_device("sandpiper", 1);
        put_file("/tmp/reboot_flag", content);
        // The flag is reported as the disabled state of a radio, which is unset here.
        const played play = stage_test::play(cloud_get, "{}");
        EXPECT_NE(play.response.find("\"2g_disable\":\"0\""), std::string::npos) << play;
        (void)reported;
    }
}

constexpr char zones[] =
    "TZ = {\n\t{ 'UTC', 'UTC0' },\n\t{ 'Etc/GMT+3', '<-03>3' },\n\t{ 'America/New York', 'EST5' },\n"
    "\t{ 'Europe/Berlin', 'CET-1CEST,M3.5.0,M10.5.0/3' },\n}\n";

TEST_F(commands_test, a_time_zone_is_looked_up_in_the_table_and_written) {
    const std::map<std::string, std::string> rules = {
        {"Europe/Berlin", "CET-1CEST,M3.5.0,M10.5.0/3"},
        {"Berlin", "CET-1CEST,M3.5.0,M10.5.0/3"},
        {"Etc/GMT+3", "<-03>3"},
        {"America/New York", "EST5"}, // the blank is escaped, and stays itself
        {"E.rope", "CET-1CEST,M3.5.0,M10.5.0/3"},
        {"Nowhere", ""},
        {"TZ", ""},       // a line with no fourth field comes first
        {"Europe/(", ""}, // an expression that is none
        {"$HOME", ""},    // the escape keeps the shell from it
        {"", ""},         // every line: the first has no fourth field
    };
    put_file("/usr/share/zoneinfo/tzdata.lua", zones);
    for (const auto &[zone, rule] : rules) {
        SCOPED_TRACE(zone);
        const played play = stage_test::play(cloud_set, request{{"system_timezone", zone}});
        EXPECT_EQ(option("system.@system[0].timezone"), rule);
        EXPECT_EQ(file("/tmp/TZ"), rule + "\n");
        EXPECT_TRUE(unforeseen(play).empty()) << play;
    }
}

TEST_F(commands_test, a_time_zone_that_grep_takes_for_an_option_is_not_foreseen) {
    put_file("/usr/share/zoneinfo/tzdata.lua", zones);
    EXPECT_EQ(unforeseen(stage_test::play(cloud_set, request{{"system_timezone", "-v"}})).size(), 1U);
}

TEST_F(commands_test, the_customer_file_is_written_and_read_back) {
    const played write = stage_test::play(
        white_label_set, request{{"customer_name", "A=B \"C\""}, {"help_url", "https://h.example"}});
    EXPECT_EQ(file("/etc/wbf/customer"), "fw_type=2\ncustomer_name=A=B \"C\"\nhelp_url=https://h.example\n");
    const played read = stage_test::play(white_label_get, "{}");
    EXPECT_NE(read.response.find(
                  "\"customer_name\":\"A\",\"help_url\":\"https:\\/\\/h.example\",\"image_url\":\"\""),
              std::string::npos)
        << read;
    EXPECT_TRUE(unforeseen(read).empty()) << read;
}

TEST_F(commands_test, a_key_of_the_customer_file_is_found_as_a_word) {
    put_file("/etc/wbf/customer",
             "my_help_url=no\nhelp_url2=no\nxhelp_url help_url = yes = more\nhelp_url=late\n");
    const played read = stage_test::play(white_label_get, "{}");
    EXPECT_NE(read.response.find("\"help_url\":\" yes \""), std::string::npos) << read;
}

TEST_F(commands_test, designating_a_customer_rewrites_the_customer_file) {
    put_file("/etc/wbf/customer", "fw_type=2\ncustomer_name=X\n");
    stage_test::play("/whiteboard/designated_customer", request{{"server_name", "a"}, {"server_url", "b"}});
    EXPECT_EQ(file("/etc/wbf/customer"), "fw_type=1\n");
}

TEST_F(commands_test, provisioning_removes_the_leases_and_saves_the_backup) {
    put_file("/tmp/dhcp.leases", "a lease\n");
    put_file("/tmp/tertf/tertfinfo_bak", "saved\n");
    stage_test::play(white_label_set, request{{"reboot_flag", "1"}});
    EXPECT_EQ(file("/tmp/dhcp.leases"), "(missing)");
    EXPECT_EQ(file("/etc/tertf/tertfinfo_bak"), "saved\n");
}

TEST_F(commands_test, a_repeater_that_is_set_up_is_seen) {
    set_option("repacd.repacd.Enable", "1");
    const played play = stage_test::play(white_label_set, "{}");
    set_option("repacd.repacd.Enable", "0");
    const played without = stage_test::play(white_label_set, "{}");
    EXPECT_EQ(play.effects.size(), without.effects.size() + 1) << play;
}

TEST_F(commands_test, pings_are_answered_while_there_is_an_internet) {
    EXPECT_EQ(stage_test::play("/cloud/aerolink/unbind", R"({"unbind": true})").result, 0);
    const stage_device offline = {.model = "heron",
                                  .service_code = "",
                                  .ddns_name = nullptr,
                                  .internet = false,
                                  .log = nullptr,
                                  .sha256 = nullptr};
    stage_set_device(&offline);
    EXPECT_EQ(stage_test::play("/cloud/aerolink/unbind", R"({"unbind": true})").result, AEROLINK_UNREACHABLE);
}

TEST_F(commands_test, pings_of_several_links_take_their_addresses_from_the_configuration) {
    put_file("/etc/config/mwan3", "");
    set_option("mwan3.wan.track_ip", "192.0.2.1 192.0.2.2");
    set_option("mwan3.wan.count", "2");
    set_option("mwan3.wan.timeout", "3");
    const played play = stage_test::play("/cloud/aerolink/unbind", R"({"unbind": true})");
    EXPECT_EQ(play.result, 0) << play;
    EXPECT_NE(play.effects[1].command.find("192.0.2.1"), std::string::npos) << play;
    set_option("mwan3.wan.count", "2; reboot");
    EXPECT_EQ(unforeseen(stage_test::play("/cloud/aerolink/unbind", R"({"unbind": true})")).size(), 2U);
}

TEST_F(commands_test, the_log_is_what_the_cloud_client_wrote) {
    const stage_device device = {
        .model = "heron",
        .service_code = "",
        .ddns_name = nullptr,
        .internet = true,
        .log = "Nov 21 04:31:22 router daemon.info apid[40]: other\n"
               "Nov 21 04:31:23 router daemon.info zu_mqtt_service[7]: up: "
               "a:b:c:d:e\n1:2:zu_mqtt_service:up\nzu_mqtt_service:1\nzu_mqtt_service without\n",
        .sha256 = nullptr};
    stage_set_device(&device);
    const played play = stage_test::play("/cloud/aerolink/log", "{}");
    EXPECT_NE(play.response.find("\"log\":[\" up: a:b:c\",\"up\",\"zu_mqtt_service without\"]"),
              std::string::npos)
        << play;
}

TEST_F(commands_test, a_password_takes_its_time) {
    set_option("zuconfig.general.password", "digest");
    EXPECT_EQ(stage_test::play(cloud_set, request{{"password", "secret; reboot"}}).seconds, 1);
    EXPECT_EQ(stage_test::play(cloud_set, request{{"password", "shrt"}}).seconds, 0);
}

TEST_F(commands_test, a_download_is_foreseen_when_its_address_is_one_word) {
    const auto download = [](const char *url) {
        return unforeseen(stage_test::play(white_label_set, request{{"image_url", url}})).size();
    };
    EXPECT_EQ(download("https://a.example/~x/logo.png?size=2"), 0U);
    for (const char *url : {"", "a b", "-i", "a;reboot", "a&b", "$a", "`a`", "a\nb", "'a'", "a>b"})
        EXPECT_EQ(download(url), 1U) << url;
}

TEST_F(commands_test, commits_all_while_the_store_lets_it) {
    static int commits;
    commits = 0;
    stage_uci uci = option_list_uci(list_);
    uci.commit_all = [](void *) { ++commits; };
    stage_set_uci(&uci);
    stage_test::play(cloud_set, "{}");
    EXPECT_EQ(commits, 3);
    stage_set_fault(stage_fault_zuci2_commit, true);
    stage_test::play(cloud_set, "{}");
    EXPECT_EQ(commits, 3);
}

TEST_F(commands_test, what_was_scripted_comes_before_the_form) {
    put_file("/tmp/dhcp.leases", "");
    stage_answer("rm /tmp/dhcp.leases", 0, nullptr, 0);
    stage_test::play(white_label_set, "{}");
    EXPECT_EQ(file("/tmp/dhcp.leases"), "");
}

TEST_F(commands_test, nothing_acts_until_it_is_said_to) {
    stage_set_acting(false);
    stage_test::play(white_label_set, request{{"reboot_flag", "1"}, {"customer_name", "x"}});
    EXPECT_EQ(file("/tmp/reboot_flag"), "(missing)");
    EXPECT_EQ(file("/etc/wbf/customer"), "(missing)");
}

// A command that the plug-in puts a text from outside into must have a form here: then a text with an
// operator in it is either kept from the shell or reported.
TEST_F(commands_test, no_command_holds_a_text_of_a_request_unseen) {
    for (const tested_model &model : tested_models) {
        set_device(model.name, model.radios);
        for (const char *route : {cloud_set, white_label_set, "/cloud/aerolink/set", "/router/bind_info",
                                  "/whiteboard/designated_customer", "/cloud/aerolink/log_level"}) {
            request members = {{"server_name", ""},      {"server_url", ""},    {"cloud_enable", ""},
                               {"serverzone", "Europe"}, {"rtty_ssh", "0"},     {"rtty_web", "0"},
                               {"image_url", ""},        {"customer_name", ""}, {"cloud_log_level", ""},
                               {"xwf_enable", ""},       {"username", ""}};
            for (const table_row &row : all_rows()) {
                set_option(row.path, "held");
                members[row.key] = "";
            }
            for (auto &[key, value] : members)
                if (value.empty())
                    value = "MARK;reboot";
            const played play = stage_test::play(route, members);
            for (const effect &one : play.effects) {
                const bool escaped = one.command.find("MARK\\;reboot") != std::string::npos;
                const bool quoted = one.command.find("\"MARK;reboot\"") != std::string::npos;
                const bool raw = one.command.find("MARK") != std::string::npos && !escaped && !quoted;
                EXPECT_EQ(raw, one.unforeseen) << route << ' ' << one.command;
            }
        }
    }
}

} // namespace
