# SPDX-License-Identifier: Apache-2.0
"""Each contract's line says FAIL for a library that breaks the contract, and no other line does."""
import unittest
from concurrent.futures import ThreadPoolExecutor

import device

# Function, fault, and the contracts that it breaks: the words behind the function's name.
FAULTS = [
    ("zuci2_init", "init gives null", ["gives a context"]),
    ("zuci2_get", "get knows no selectors", ["gives an option of a named or selected section"]),
    ("zuci2_get", "get joins by a comma", ["joins the values of a list by one space"]),
    ("zuci2_get", "get always succeeds", ["takes a missing option for an error, the buffer is untouched",
                                          "takes a null context for an error, the buffer is untouched"]),
    ("zuci2_get", "get clears the buffer", ["takes a missing option for an error, the buffer is untouched",
                                            "takes a null context for an error, the buffer is untouched"]),
    ("zuci2_get", "get gives nothing without context", ["takes a null context for an error, the buffer is untouched"]),
    ("zuci2_get", "get crashes without context", ["takes a null context for an error, the buffer is untouched"]),
    ("zuci2_get", "get does not cut", ["cuts a value to 4096 bytes with its NUL"]),
    ("zuci2_get", "get cuts too much", ["cuts a value to 4096 bytes with its NUL"]),
    ("zuci2_section_count", "count is of sections with a name", ["counts the sections of a type"]),
    ("zuci2_section_count", "count of nothing is an error", ["gives 0 for a missing package"]),
    ("zuci2_set", "set stops at a quote", ["sets an option to any text"]),
    ("zuci2_set", "set creates no section", ["creates a section of a type"]),
    ("zuci2_set", "set always succeeds", ["takes a missing section for an error that changes nothing"]),
    ("zuci2_set", "free forgets changes", ["is seen by contexts opened later, without a commit",
                                           "is made durable by the command \"uci commit\""]),
    ("zuci2_delete", "delete does nothing", ["deletes an option or a section",
                                             "takes what is missing for an error that changes nothing"]),
    ("zuci2_delete", "delete always succeeds", ["takes what is missing for an error that changes nothing"]),
    ("zuci2_commit", "commit does nothing", ["makes changes durable"]),
    ("zjson_get_string", "string is kept in one place", ["gives a member's text, which stays the object's"]),
    ("zjson_get_string", "string is never null", ["gives null for a missing member and for JSON null"]),
    ("zjson_get_string", "string is of strings alone", ["gives the JSON text of what is no string"]),
    ("zjson_get_boolean", "boolean is -1", ["gives 1 or 0; a missing member is 0"]),
    ("zjson_contain_key", "null is no member", ["gives 1 for a member of any value, else 0"]),
    ("zjson_add_string", "string goes to the end", ["adds a copy, or replaces a value in its place"]),
    ("zjson_add_int", "number becomes a string", ["adds a number, or replaces a value in its place"]),
    ("zjson_add_boolean", "boolean becomes a number", ["adds a boolean, or replaces a value in its place"]),
    ("zjson_add_object", "object gets a reference more",
     ["takes over the reference, or replaces a value in its place"]),
    ("zjson_array_add_string", "array keeps its length", ["appends a copy"]),
    ("execCommand", "exec gives the wait status", ["gives the command's exit status",
                                                   "runs a shell in which \"&>\" redirects all output"]),
    ("execCommand", "exec does not wait", ["gives the command's exit status", "waits for the command",
                                           "runs a shell in which \"&>\" redirects all output"]),
    ("execCommand", "exec runs another shell", ["runs a shell in which \"&>\" redirects all output"]),
    *((runner, fault, [contract]) for runner in ("getShellCommandReturnLine", "getUciReturn") for fault, contract in (
        ("line keeps its end", "gives the first line of the output without its end"),
        ("line clears the buffer", "leaves the buffer untouched when there is no output"),
        ("line is not cut", "cuts the line to 4096 bytes with its NUL"))),
    ("fork_exec2", "fork waits", ["returns at once"]),
    ("fork_exec2", "fork starts the last one first", ["starts commands in the order of the calls"]),
    ("fork_exec2", "fork starts one after the other", ["starts commands in the order of the calls"]),
    ("fork_exec2", "fork stays in the group", ["detaches the command from the process that started it"]),
    ("fork_exec2", "fork leaves a zombie", ["leaves no zombie"]),
    ("get_model_name", "model is null", ["names the model"]),
    ("get_service_code", "code is null", ["gives the service code"]),
    ("get_ddns_name", "name crashes", ["gives the dynamic-DNS name or null"]),
    ("cmm_check_file_is_exist", "file is 0 when it exists", ["gives 1 for what exists, else 0"]),
    ("wifi_check_repeater_is_connected", "repeater is up", ["is non-zero while the repeater uplink is up"]),
    ("mt76x8_private_iwpriv_set", "driver refuses", ["gives 0 for a parameter that the driver took"]),
    ("sha256", "digest is upper-case", ["gives a digest of 64 lower-case digits and a NUL"]),
    ("sha256", "digest is longer", ["gives a digest of 64 lower-case digits and a NUL"]),
    ("increase_escape_function", "escape escapes nothing",
     ["keeps a text as one word of the shell", "lets the shell run nothing of the text",
      "takes length characters, writes 2 x length + 1 at most"]),
    ("increase_escape_function", "escape writes on",
     ["keeps a text as one word of the shell", "lets the shell run nothing of the text",
      "takes length characters, writes 2 x length + 1 at most"]),
    ("increase_escape_function", "escape ends at the text's end",
     ["takes length characters, writes 2 x length + 1 at most"]),
    ("str_to_upper", "case is of Latin 1", ["changes the letters of ASCII in place"]),
    ("str_to_lower", "case is of Latin 1", ["changes the letters of ASCII in place"]),
]


class Faults(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        cls.router = device.start("plover")
        cls.addClassCleanup(cls.router.stop)

    def outcomes(self):
        """Of every fault. All UCI checks work on one package and wait for each other; the others mostly sleep."""
        def check(case):
            return device.check(self.router, "--repeater", "down", "--interface", "ra0", "net", case[0], fault=case[1])

        alone = {case[:2]: check(case) for case in FAULTS if case[0].startswith("zuci2_")}
        others = [case for case in FAULTS if case[:2] not in alone]
        with ThreadPoolExecutor(len(others)) as pool:
            return alone | dict(zip((case[:2] for case in others), pool.map(check, others)))

    def test_each_fails_its_line(self):
        outcomes = self.outcomes()
        for function, fault, contracts in FAULTS:
            with self.subTest(fault=fault, function=function):
                outcome = outcomes[function, fault]
                self.assertEqual(list(outcome.of("FAIL")), [f"{function} {contract}" for contract in contracts],
                                 outcome)
                self.assertEqual(outcome.status, 1)
                for reason in outcome.of("FAIL").values():
                    self.assertNotEqual(reason, "")

        self.assertEqual({f"{function} {contract}" for function, _, contracts in FAULTS for contract in contracts},
                         {line.contract for outcome in outcomes.values() for line in outcome.lines})

    def test_every_function_has_a_fault(self):
        self.assertEqual({function for function, _, _ in FAULTS}, device.platform_functions())


if __name__ == "__main__":
    unittest.main()
