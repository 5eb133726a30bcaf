# SPDX-License-Identifier: Apache-2.0
"""Every request and response of the recorded cases against the OpenAPI document."""
import unittest

import recorded_cases
from openapi_document import TREE, Document

OTHER_TYPE = "shows what becomes of members of other types; a client sends the type that is asked for"
NULL = "shows that a member that is null counts as absent; a client leaves it out"
NO_QUERY = "shows that a request is ignored that no query can make"
# What the document says then, and nothing else.
SAYS = {OTHER_TYPE: r"is not of type '", NULL: r"^\$\.\w+: None is not of type '|^\$: None is not of type '",
        NO_QUERY: r"^no query makes this request$"}
# Cases with requests that the document refuses, and why they are recorded all the same.
REFUSED = {
    "batch/falcon/named_read_before_and_after": OTHER_TYPE,
    "batch/falcon/tables_after_the_swap": NULL,
    "batch/get/name_is_not_an_array": OTHER_TYPE,
    "batch/get/name_is_null": NULL,
    "batch/get/names_that_are_no_strings": OTHER_TYPE,
    "batch/set/reboot_flag_true_is_not_1": OTHER_TYPE,
    "batch/set/reboot_is_carried_over": NULL,
    "batch/set/values_that_are_no_strings": OTHER_TYPE,
    "cloud/status": NO_QUERY,
    "cloud_link/bind_members_of_other_types": OTHER_TYPE,
    "cloud_link/bind_null_members": NULL,
    "cloud_link/log_level": NULL,
    "cloud_link/log_level_of_other_types": OTHER_TYPE,
    "cloud_link/log_request_is_ignored": NO_QUERY,
    "cloud_link/set_check_status_of_any_type": OTHER_TYPE,
    "cloud_link/set_cloud_enable_of_any_type": OTHER_TYPE,
    "cloud_link/set_strings_of_other_types": OTHER_TYPE,
    "cloud_link/status_read_ignores_its_request": NO_QUERY,
    "targets/wide_numbers": OTHER_TYPE,
    "whiteboard/designated/null_members": NULL,
    "whiteboard/designated/values": OTHER_TYPE,
    "whiteboard/read/name_no_array": OTHER_TYPE,
    "whiteboard/read/named_unknown": OTHER_TYPE,
    "whiteboard/sequence/reboot_is_remembered": NULL,
    "whiteboard/walk/other_types": OTHER_TYPE,
}


class RecordedCases(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.document = Document()
        cls.calls = list(recorded_cases.read_calls(TREE / "tests/recorded/cases"))

    def test_are_read(self):
        self.assertGreater(len(self.calls), 900)
        self.assertEqual({(call.method, call.path) for call in self.calls},
                         {(method, path) for method, path, _ in self.document.operations()})

    def test_have_requests_that_validate(self):
        refused = set()
        for call in self.calls:
            operation = self.document.operation(call.method, call.path)
            if call.result == -5:
                continue  # it lacks what the document requires
            errors = self.document.request_errors(operation, call.request)
            if errors:
                refused.add(call.case)
                with self.subTest(str(call)):
                    self.assertIn(call.case, REFUSED, errors)
                    for error in errors:
                        self.assertRegex(error, SAYS[REFUSED[call.case]])
        self.assertEqual(set(REFUSED) - refused, set(), "nothing of these is refused")

    def test_lack_a_member_where_the_result_says_so(self):
        for call in self.calls:
            if call.result == -5:
                with self.subTest(str(call)):
                    operation = self.document.operation(call.method, call.path)
                    self.assertNotEqual(self.document.request_errors(operation, call.request), [])

    def test_have_responses_that_validate(self):
        for call in self.calls:
            operation = self.document.operation(call.method, call.path)
            with self.subTest(str(call)):
                status = self.document.status_of(operation, call.result)
                self.assertIsNotNone(status, f"no response has the result {call.result}")
                reply = {"result": call.result, "response": call.response}
                self.assertEqual(self.document.errors(reply, self.document.media(operation, status)["schema"]), [])


if __name__ == "__main__":
    unittest.main()
