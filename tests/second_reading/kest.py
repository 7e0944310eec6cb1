"""Runs kest, the program under test, on a machine folder of this process."""
import json
import os
import shutil
import subprocess
import tempfile


class Machine:
    def __init__(self, program, *products, flags=()):
        self.program = program
        self.folder = tempfile.mkdtemp(prefix="kest-second-reading-", dir=os.environ.get("TMPDIR"))
        self.pc = os.path.join(self.folder, "pc")
        self.environment = {"PATH": os.environ.get("PATH", ""), "HOME": self.folder, "LC_ALL": "C.UTF-8"}
        answer = self.run("machine", "new", self.pc, "-q", *flags, *["--product=" + product for product in products])
        if answer.returncode != 0:
            raise RuntimeError("no sample machine: " + answer.stderr)
        self.environment["KEST_MACHINE"] = self.pc

    def close(self):
        shutil.rmtree(self.folder)

    def run(self, *arguments):
        return subprocess.run([self.program, *arguments], env=self.environment, stdin=subprocess.DEVNULL,
                              capture_output=True, encoding="utf-8", errors="surrogateescape", timeout=60)

    def json(self, *arguments):
        answer = self.run(*arguments, "--json")
        return answer.returncode, json.loads(answer.stdout)

    def drive(self, *parts):
        return os.path.join(self.pc, "drive_c", *parts)
