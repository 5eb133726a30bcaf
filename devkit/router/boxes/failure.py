# SPDX-License-Identifier: Apache-2.0
"""What can go wrong with a box."""


class Failure(Exception):
    """What went wrong, as the user is told."""
