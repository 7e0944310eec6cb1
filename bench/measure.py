"""Rounds of commands run in turn, and the ratios inside each round."""
import os
import shutil
import statistics
import subprocess
import sys
from dataclasses import dataclass, field


@dataclass
class Entry:
    """One way of doing a piece of work. `prepare` is shell text run before the clock starts; `command` is one program with
    its arguments, run in the scratch folder; `check` is shell text that must succeed afterwards. Variables are expanded by
    the shell: S is the scratch folder of the run, M one in memory, D the inputs, B the programs."""
    name: str
    command: str
    prepare: str = ""
    check: str = ""
    files: int = 0  # that it makes: as many are made and removed before the clock starts
    wall: list = field(default_factory=list)
    cpu: list = field(default_factory=list)
    synced: list = field(default_factory=list)
    memory: list = field(default_factory=list)
    others: list = field(default_factory=list)
    calls: int = 0
    instructions: int = 0
    failure: str = ""


def busy_seconds():
    """Processor time that the system has spent on anything."""
    with open("/proc/stat") as stat:
        ticks = [int(value) for value in stat.readline().split()[1:9]]
    return (sum(ticks) - ticks[3] - ticks[4]) / os.sysconf("SC_CLK_TCK")


class Bench:
    def __init__(self, scratch, inputs, programs, rounds, counting=False):
        self.scratch, self.inputs, self.programs, self.rounds, self.counting = scratch, inputs, programs, rounds, counting
        # M: a folder in memory
        self.environment = dict(os.environ, S=f"{scratch}/run", M="/dev/shm/kest-bench-run", D=inputs, B=programs, LC_ALL="C")

    def shell(self, text):
        result = subprocess.run(["bash", "-c", "set -e\n" + text], env=self.environment, capture_output=True)
        return result.returncode == 0, (result.stdout + result.stderr).decode(errors="replace").strip()[-400:]

    def warm(self, files):
        """Whoever makes files after the kernel has given its inodes back pays for making those: so nobody does."""
        folder = f"{self.scratch}/warm"
        for number in range(files):
            if number % 100 == 0:
                os.makedirs(f"{folder}/{number // 100}")
            with open(f"{folder}/{number // 100}/{number}", "wb") as out:
                out.write(b"warm")
        shutil.rmtree(folder, ignore_errors=True)

    def once(self, entry, under=""):
        run = f"{self.scratch}/run"
        shutil.rmtree(run, ignore_errors=True)
        os.makedirs(run)
        if entry.prepare:
            good, said = self.shell(entry.prepare)
            if not good:
                entry.failure = f"preparing failed: {said}"
                return None
        self.warm(entry.files)
        os.sync()
        command = f'exec "$B/bench_launch" "{self.scratch}" {under} {entry.command}'
        before = busy_seconds()
        result = subprocess.run(["bash", "-c", command], env=self.environment, capture_output=True, stdin=subprocess.DEVNULL)
        try:
            code, wall, cpu, memory, sync = result.stdout.decode(errors="replace").strip().splitlines()[-1].split()
        except (IndexError, ValueError):
            code = "no figures"
        others = busy_seconds() - before - float(cpu) if code != "no figures" else 0
        if code != "0":
            entry.failure = f"exit {code}: {result.stderr.decode(errors='replace').strip()[-300:]}"
            return None
        if entry.check:
            good, said = self.shell(entry.check)
            if not good:
                entry.failure = f"check failed: {said}"
                return None
        if not under:
            entry.others.append(max(0.0, others) / max(float(wall) + float(sync), 1e-6))
        return float(wall), float(cpu), int(memory), float(wall) + float(sync)

    def count(self, entry):
        """System calls and instructions, each of a run of its own: they do not swing with what else the machine does."""
        table, log = f"{self.scratch}/calls", f"{self.scratch}/instructions"
        if shutil.which("strace") and self.once(entry, f"strace -f -c -o {table}"):
            with open(table) as lines:
                entry.calls = int(lines.read().splitlines()[-1].split()[3])
        if shutil.which("valgrind") and self.once(
                entry, f"valgrind --tool=callgrind --callgrind-out-file=/dev/null --log-file={log}"):
            with open(log) as lines:
                entry.instructions = int(lines.read().split("refs:")[-1].split()[0].replace(",", ""))

    def measure(self, entries):
        """One round that does not count, then the others, each beginning with another entry; an entry that fails once
        drops out and says why."""
        for turn in range(self.rounds + 1):
            at = turn % len(entries)
            for entry in entries[at:] + entries[:at]:
                if entry.failure:
                    continue
                figures = self.once(entry)
                if figures and turn > 0:
                    entry.wall.append(figures[0])
                    entry.cpu.append(figures[1])
                    entry.memory.append(figures[2])
                    entry.synced.append(figures[3])
        shutil.rmtree(self.environment["M"], ignore_errors=True)
        for entry in entries if self.counting else []:
            if not entry.failure:
                self.count(entry)
        shutil.rmtree(f"{self.scratch}/run", ignore_errors=True)


def ratios(ours, theirs):
    return sorted(a / b for a, b in zip(ours, theirs) if b > 0)


def spread(ours, theirs):
    """The median of the rounds' ratios, the least and greatest of them, and the ratio of the least times."""
    values = ratios(ours, theirs)
    if not values:
        return "-"
    return f"{statistics.median(values):.2f} ({values[0]:.2f}-{values[-1]:.2f}) {min(ours) / max(min(theirs), 1e-9):.2f}"


def report(title, aim, entries, ours, reference):
    """Prints a table; every ratio is to the entry named `reference`, taken inside one round."""
    print(f"\n## {title}\naim: {aim}")
    base = next(e for e in entries if e.name == reference)
    if base.failure:
        print(f"  {reference}: {base.failure}")
    print(f"  {'ratios: median (spread) of least':34} {'wall s':>8}  {'wall':>21}  {'wall and sync':>21}  {'CPU':>21}  {'MiB':>5}")
    for entry in entries:
        if entry.failure or not entry.wall:
            print(f"  {entry.name:34} {entry.failure or 'not run'}")
            continue
        mark = "*" if entry.name in ours else " "
        row = [spread(getattr(entry, k), getattr(base, k)) for k in ("wall", "synced", "cpu")]
        print(f" {mark}{entry.name:34} {statistics.median(entry.wall):8.3f}  {row[0]:>21}  {row[1]:>21}  {row[2]:>21}  "
              f"{max(entry.memory) / 1024:5.0f}")
        if entry.calls or entry.instructions:
            files = f", of each file {entry.calls / entry.files:.1f} and {entry.instructions // entry.files:,}" if entry.files else ""
            print(f"  {'':34} {entry.calls:,} calls, {entry.instructions:,} instructions{files}")
    others = [share for entry in entries for share in entry.others]
    if others:
        print(f"  others used {statistics.median(others):.2f} of {os.cpu_count()} processors meanwhile")
    sys.stdout.flush()


def exponent(sizes, seconds):
    """Slope of the line through the logarithms."""
    import math
    xs, ys = [math.log(s) for s in sizes], [math.log(max(t, 1e-6)) for t in seconds]
    mx, my = statistics.mean(xs), statistics.mean(ys)
    return sum((x - mx) * (y - my) for x, y in zip(xs, ys)) / sum((x - mx) ** 2 for x in xs)
