# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=sh
# For the stand-ins that are running processes. They wait on a pipe of their own, so that no child of theirs is left
# when they are killed.

# open_events NAME: makes the pipe /tmp/run/NAME.events and opens it as descriptor 4.
open_events() {
    rm -f "/tmp/run/$1.events"
    mkfifo "/tmp/run/$1.events"
    exec 4<>"/tmp/run/$1.events"
}
