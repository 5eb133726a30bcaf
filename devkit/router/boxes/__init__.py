"""Routers in boxes: each a bubblewrap container of its own, with a state folder that is its memory."""
