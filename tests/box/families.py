# SPDX-License-Identifier: Apache-2.0
"""What a push of every setting makes of a model."""
from typing import NamedTuple

from vocabulary import DISABLE_KEYS, HIDDEN_KEYS, KEY_KEYS

FIRST_TIME = DISABLE_KEYS | HIDDEN_KEYS | KEY_KEYS | {"autoupdate_firmware_path"}


class Family(NamedTuple):
    table: str
    bandwidth: dict          # the options that the pushed bandwidths end up in
    htmode_5g: str = "VHT40"  # what is pushed
    first_time: set = FIRST_TIME  # keys that are written although the option was unset
    unchecked: tuple = ()  # keys that are written although their check refuses the value, and says so


ARDEA_BANDWIDTH = {"wireless.wifi0.htmode": "HT40", "wireless.wifi1.htmode": "HT40"}
SINGLE_BANDWIDTH = {"wireless.radio0.htmode": "HT40", "wireless.radio0.hwmode": "11g",
                    "wireless.radio0.noscan": "1"}
DUAL_BANDWIDTH = {"wireless.radio1.htmode": "HT40", "wireless.radio1.hwmode": "11g",
                  "wireless.radio1.noscan": "1", "wireless.radio0.htmode": "VHT80",
                  "wireless.radio0.hwmode": "11a", "wireless.radio0.noscan": "1"}

ARDEA = Family("batch_list_ardea",
               ARDEA_BANDWIDTH | {"wireless.wifi0.hwmode": "11ng", "wireless.wifi1.hwmode": "11ac"})
FALCON = Family("batch_list_ardea",
                ARDEA_BANDWIDTH | {"wireless.wifi1.hwmode": "11axg", "wireless.wifi0.hwmode": "11axa"})
PLOVER = Family("batch_list_mt76x8", {"wireless.mt7628.htmode": "HT40", "wireless.mt7628.hwmode": "11g",
                                      "wireless.mt7628.noscan": "1"})
LINNET = PLOVER._replace(first_time=FIRST_TIME - HIDDEN_KEYS)
WREN = Family("batch_list_mt7615",
              {"wireless.mt7615e2.htmode": "HT40", "wireless.mt7615e2.hwmode": "11ng",
               "wireless.mt7615e2.noscan": "0", "wireless.mt7615e5.htmode": "HT40",
               "wireless.mt7615e5.hwmode": "11ac", "wireless.mt7615e5.noscan": "0"})
FINCH = Family("batch_list_finch", SINGLE_BANDWIDTH)
SINGLE = Family("batch_list2", SINGLE_BANDWIDTH, unchecked=("guest_lan_ip",))
DUAL = Family("batch_list1", DUAL_BANDWIDTH, htmode_5g="VHT80", unchecked=("guest_lan_ip",))
OSPREY = DUAL._replace(bandwidth=DUAL_BANDWIDTH | {"wireless.radio0.noscan": "0"})

FAMILY_OF = {
    "heron": ARDEA, "egret": ARDEA, "crane": ARDEA, "stork": ARDEA, "falcon": FALCON,
    "plover": PLOVER, "plover-v2": PLOVER, "linnet": LINNET, "pipit": LINNET,
    "wren": WREN, "finch": FINCH, "generic-single": SINGLE, "generic-dual": DUAL, "osprey": OSPREY,
    **dict.fromkeys(["lark", "swift", "robin", "dove", "teal", "gull", "kite", "rook", "ibis"], DUAL),
}
