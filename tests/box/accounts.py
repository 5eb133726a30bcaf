# SPDX-License-Identifier: Apache-2.0
"""Passwords as the router stores them."""
import ctypes
import hashlib


def md5_crypt(password, setting):
    crypt = ctypes.CDLL("libcrypt.so.1").crypt
    crypt.restype = ctypes.c_char_p
    return crypt(password.encode(), setting.encode()).decode()


def password_digest(password, service_code):
    setting = f"$1${service_code[:8]}$"
    return hashlib.sha256(md5_crypt(password, setting).removeprefix(setting).encode()).hexdigest()
