"""The built programs, run under Wine as a script runs them, in the prefix that the
environment names."""

import os
import signal
import subprocess
import tempfile

# Names in the user's letters pass to Wine as UTF-8, texts are English.
ENVIRONMENT = {**os.environ, "LC_ALL": "C.UTF-8", "DISPLAY": ""}


def is_for_32_bits(path):
    """Whether a program or a library is, by its header."""
    with open(path, "rb") as file:
        file.seek(0x3C)
        file.seek(int.from_bytes(file.read(4), "little") + 4)
        return file.read(2) == b"\x4c\x01"


class Programs:
    """Those of one build folder, and the system's of the same kind, which are named without
    their ending."""

    def __init__(self, root, folder):
        self.runner = os.path.join(root, "scripts", "wine-run.sh")
        self.folder = folder
        kind = "syswow64" if is_for_32_bits(os.path.join(folder, "VeskardShellExt.dll")) else "system32"
        self.system = f"C:\\windows\\{kind}\\"

    def command(self, program, *words):
        path = os.path.join(self.folder, program) if program.endswith(".exe") else f"{self.system}{program}.exe"
        return [self.runner, path, *words]

    def run(self, program, *words, **environment):
        """Runs it to its end; further environment variables may be given by name."""
        # Into files: Wine's own processes outlive the program and keep the ends of its pipes.
        with tempfile.TemporaryFile() as output, tempfile.TemporaryFile() as errors:
            result = subprocess.run(self.command(program, *words), stdin=subprocess.DEVNULL, stdout=output,
                                    stderr=errors, env={**ENVIRONMENT, **environment}, timeout=120)
            result.stdout, result.stderr = contents(output), contents(errors)
        return result

    def must(self, program, *words):
        result = self.run(program, *words)
        if result.returncode != 0:
            raise AssertionError(f"{program} {words} ended with {result.returncode}: {result.stderr}")
        return result.stdout

    def start(self, program, *words):
        return subprocess.Popen(self.command(program, *words), stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                text=True, encoding="utf-8", env=ENVIRONMENT)

    def library(self, name):
        """What was built, as the programs see it."""
        return "Z:" + os.path.join(self.folder, name).replace("/", "\\")

    def register(self, library, *switches):
        self.must("regsvr32", "/s", *switches, "/n", "/i:S", library)

    def agent_folder(self):
        """Where the agent's own installer makes the folder that the log lies in, for this program."""
        roaming = self.must("cmd", "/c", "echo %APPDATA%").strip().removeprefix("C:\\")
        return os.path.join(self.drive_c(), *roaming.split("\\"), "Nimbrel Veskard Agent")

    def architecture(self):
        """What the programs are made for, as they say it themselves."""
        with open(os.path.join(self.folder, "shellprobe.exe"), "rb") as file:
            start = file.read(4096)
        header = int.from_bytes(start[60:64], "little")
        return {0x14C: "32-bit", 0x8664: "64-bit", 0xAA64: "ARM64"}[int.from_bytes(start[header + 4:header + 6], "little")]

    def drive_c(self):
        return os.path.join(os.environ["WINEPREFIX"], "drive_c")


def class_id(index, version):
    return "{8AF594%02X-CC05-%04X-%02X%02X-AE6472CC92B2}" % (index, *map(int, version.split(".")))


def contents(file):
    file.seek(0)
    return file.read().decode("utf-8").replace("\r\n", "\n")


def children(pid):
    with open(f"/proc/{pid}/task/{pid}/children", encoding="ascii") as file:
        return [int(child) for child in file.read().split()]


def end(process):
    """Ends a started program at once. The runner wraps it in other processes; the
    innermost is the program, which heeds no milder signal, and the others end with it."""
    pid = process.pid
    while below := children(pid):
        pid = below[-1]
    os.kill(pid, signal.SIGKILL)
    process.wait()
