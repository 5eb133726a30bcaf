// SPDX-License-Identifier: Apache-2.0
// Texts that the plug-in may meet anywhere.
#include "tests/fuzz/texts.h"

#include "tools/vocabulary/keys.h"

#include <vector>

namespace fuzz {

namespace {

constexpr const char *common[] = {
    "",
    "0",
    "1",
    "2",
    "-1",
    "3",
    "10",
    "20",
    "27",
    "100",
    "999",
    "auto",
    "max",
    "high",
    "medium",
    "low",
    "true",
    "psk2",
    "psk-mixed",
    "none",
    "HT20",
    "HT40",
    "HT80",
    "VHT20",
    "VHT40",
    "VHT80",
    "VHT160",
    "11ng",
    "11ac",
    "11axg",
    "dhcp",
    "lan",
    "zh-cn",
    "static",
    "pppoe",
    "a b c",
    "192.168.1.1",
    "10.0.0.300",
    "300.1.1",
    "http://a.b/c",
    "UTC",
    "CST-8",
    "Europe",
    "China",
    "Europe/Berlin",
    "fw_type=1",
    "a=b\nfw_type=2\n",
    "8.8.8.8 9.9.9.9",
};
constexpr const char *hostile[] = {
    "'",
    "\"",
    "`reboot`",
    "$(reboot)",
    "; reboot",
    "a'b\"c\\d",
    "%s%s%n%s",
    "\n",
    "a\nb\n",
    "\xff\xfe",
    "\xc3\xa9",
    "\t",
    "../../etc",
    "@[0]",
    "=",
    "|",
    "a.b.c",
    "2g_txpower",
    "=1\n=2",
    "key",
    "x=",
    "\x01",
    "*0",
    "&",
    "<b>",
    "99999999999",
    "-",
    ".",
    "wireless.wifi0.txpower",
    "txpower",
    "a.txpower",
    "1e9",
    "{}",
    "[]",
    "null",
    "# x",
    " ",
    "0x10",
};
// Buffers that a value may go to, and checks on its length.
constexpr size_t sizes[] = {4,   5,   7,   8,   16,  31,  32,  48,   63,   64,   100, 127,
                            128, 212, 255, 256, 300, 511, 512, 1023, 2048, 4095, 4096};
constexpr char fillers[] = {'a', '\'', '1', '\xe9'};

std::vector<std::string> collect() {
    std::vector<std::string> texts(std::begin(common), std::end(common));
    texts.insert(texts.end(), std::begin(hostile), std::end(hostile));
    for (const vocabulary::key &key : vocabulary::keys()) {
        texts.emplace_back(key.example);
        texts.emplace_back(key.other);
    }
    for (const char filler : fillers)
        for (const size_t size : sizes)
            for (const size_t length : {size - 1, size, size + 1})
                texts.emplace_back(length, filler);
    return texts;
}

} // namespace

const std::string &text_of(size_t choice) {
    static const std::vector<std::string> texts = collect();
    return texts[choice % texts.size()];
}

} // namespace fuzz
