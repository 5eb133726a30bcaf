# SPDX-License-Identifier: Apache-2.0
"""Routers in boxes: each a bubblewrap container of its own, with a state folder that is its memory."""
