# SPDX-License-Identifier: Apache-2.0
"""Asks the plug-in, loaded by the player of recorded tests."""
import os
import subprocess
import tempfile


def ask(function):
    """The response lines of a function without arguments."""
    with tempfile.NamedTemporaryFile("w", suffix=".case", encoding="ascii") as case:
        case.write(f"# Purpose: documents.\n\n[call {function}]\n[]\n")
        case.flush()
        played = subprocess.run([os.environ["PLAYER"], os.environ["PLUGIN"], case.name], capture_output=True, text=True,
                                check=True).stdout
    return played.partition("[response]\n")[2].partition("[effects]\n")[0].splitlines()
