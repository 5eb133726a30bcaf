# SPDX-License-Identifier: Apache-2.0
"""The bubblewrap container around one router: own users, processes, network, IPC and host name."""
import contextlib
import os
import shutil
import signal
import socket
import subprocess
import tempfile
from pathlib import Path

from boxes import limits
from boxes.failure import Failure
from boxes.state import BOX_USER

REBOOT_STATUS = 42  # of the box's init: firmware/sbin/init says the same
PATH = "/usr/sbin:/usr/bin:/sbin:/bin"
STOP_SIGNALS = (signal.SIGTERM, signal.SIGINT)


def listen(address, port, option):
    """A listening socket; the option is how the user chooses another port."""
    try:
        return socket.create_server((address, port))
    except OSError as error:
        raise Failure(f"port {port} of {address} cannot be had ({error.strerror}): "
                      f"choose another with {option}") from None


def check_bubblewrap():
    """Refuses a machine on which no box can start."""
    for program in ["bwrap", *(["setpriv", "unshare"] if os.geteuid() == 0 else [])]:
        if shutil.which(program) is None:
            raise Failure(f"{program} is missing: install the package "
                          f"{'bubblewrap' if program == 'bwrap' else 'util-linux'}")
    trial = ["bwrap", "--unshare-user", "--unshare-pid", "--unshare-net", "--ro-bind", "/", "/", "true"]
    if os.geteuid() == 0:
        trial = as_box_user(trial)
    done = subprocess.run(trial, capture_output=True, text=True, check=False)
    if done.returncode != 0:
        raise Failure(f"bubblewrap does not work on this machine: {done.stderr.strip() or done.returncode}")


@contextlib.contextmanager
def stop_signals_blocked():
    """Holds back the signals that stop this program; gives the function that undoes it in a child."""
    def unblock():
        signal.pthread_sigmask(signal.SIG_UNBLOCK, STOP_SIGNALS)

    signal.pthread_sigmask(signal.SIG_BLOCK, STOP_SIGNALS)
    try:
        yield unblock
    finally:
        unblock()


class Lifeline:
    """A pipe that only this process can write to: whoever reads from it hears of its end, however that comes."""

    def __init__(self):
        self.read_end, self.write_end = os.pipe()
        self.path = f"/proc/{os.getpid()}/fd/{self.read_end}"


def guarded(command, lifeline):
    """The command, with a guard beside it that kills its process group when this program is gone. bubblewrap sees to
    that too, but not yet while it starts."""
    script = '(read -r _ <"$0"; kill -9 0) 2>/dev/null & exec "$@"'
    return ["sh", "-c", script, lifeline.path, *command]


class Box:
    """One router, from power on to power off."""

    def __init__(self, state, listener):
        self.state = state
        self.listener = listener
        self.lifeline = Lifeline()
        self.process = None
        self.boots = 0

    @property
    def url(self):
        address, port = self.listener.getsockname()[:2]
        return f"http://{address}:{port}"

    def boot(self):
        self.boots += 1
        self.state.boots.write_text(str(self.boots), encoding="ascii")
        with self.state.console.open("ab") as console, tempfile.TemporaryFile() as arguments:
            root = self.state.folder if os.geteuid() != 0 else Path("/mnt")
            arguments.write("\0".join(bubblewrap_arguments(root)).encode())
            arguments.seek(0)
            command = ["bwrap", "--args", str(arguments.fileno()), "--", *limits.first_command()]
            if os.geteuid() == 0:
                command = with_folder_at(self.state.folder, root, as_box_user(command))
            # A stop must wait until the new process is known: it would go on without us otherwise.
            with stop_signals_blocked() as unblock:
                self.process = subprocess.Popen(guarded(command, self.lifeline), stdin=self.listener,
                                                stdout=console, stderr=console,
                                                pass_fds=[arguments.fileno()], start_new_session=True,
                                                preexec_fn=unblock)

    def end_of_boot(self, timeout):
        """How the router ended: "reboot" by its own wish, "killed", None while it runs on; else Failure."""
        try:
            status = self.process.wait(timeout)
        except subprocess.TimeoutExpired:
            return None
        self.power_off()
        if status == REBOOT_STATUS:
            return "reboot"
        if status < 0 or status > 128:
            return "killed"
        raise Failure(f"the box ended with status {status}\n{self.console_text()}")

    def console_text(self):
        return self.state.console.read_text(encoding="utf-8", errors="replace").rstrip()

    def power_off(self):
        if self.process is None:
            return
        # bubblewrap alone, killed while it starts, would leave its children behind; and there is the guard.
        with contextlib.suppress(ProcessLookupError):
            os.killpg(self.process.pid, signal.SIGKILL)
        self.process.wait()


def as_box_user(command):
    """The command, run by the box's user; for root."""
    return ["setpriv", f"--reuid={BOX_USER}", f"--regid={BOX_USER}", "--clear-groups", "--inh-caps=-all", *command]


def with_folder_at(state_folder, mount_point, command):
    """The command, which finds the state folder at mount_point, wherever it is; for root."""
    script = 'mount --bind "$1" "$2" && shift 2 && exec "$@"'
    return ["unshare", "--mount", "sh", "-c", script, "sh", str(state_folder), str(mount_point), *command]


def bubblewrap_arguments(folder):
    """What bubblewrap is told; it reads this from a file, since its command line can be seen in the box.

    The box's session is already a new one, without a terminal: the process was started so.
    """
    image = f"{folder}/run/image"
    return ["--unshare-user", "--uid", "0", "--gid", "0", "--unshare-pid", "--unshare-net", "--unshare-ipc",
            "--unshare-uts", "--unshare-cgroup-try", "--hostname", "router", "--die-with-parent",
            "--clearenv", "--setenv", "PATH", PATH, "--setenv", "HOME", "/root",
            "--ro-bind", image, "/", "--proc", "/proc", "--dev", "/dev",
            "--size", str(limits.TMP_SIZE), "--tmpfs", "/tmp",
            "--bind", f"{folder}/etc", "/etc", "--ro-bind", f"{image}/etc/init.d", "/etc/init.d",
            "--bind", f"{folder}/var", "/var", "--bind", f"{folder}/www", "/www",
            "--bind", f"{folder}/run/control", "/run/control", "--chdir", "/"]
