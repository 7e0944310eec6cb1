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
    the shell: S is the scratch folder of the run, D the inputs, B the programs."""
    name: str
    command: str
    prepare: str = ""
    check: str = ""
    wall: list = field(default_factory=list)
    cpu: list = field(default_factory=list)
    synced: list = field(default_factory=list)
    memory: list = field(default_factory=list)
    failure: str = ""


class Bench:
    def __init__(self, scratch, inputs, programs, rounds):
        self.scratch, self.inputs, self.programs, self.rounds = scratch, inputs, programs, rounds
        self.environment = dict(os.environ, S=f"{scratch}/run", D=inputs, B=programs, LC_ALL="C")

    def shell(self, text):
        result = subprocess.run(["bash", "-c", "set -e\n" + text], env=self.environment, capture_output=True)
        return result.returncode == 0, (result.stdout + result.stderr).decode(errors="replace").strip()[-400:]

    def once(self, entry):
        run = f"{self.scratch}/run"
        shutil.rmtree(run, ignore_errors=True)
        os.makedirs(run)
        if entry.prepare:
            good, said = self.shell(entry.prepare)
            if not good:
                entry.failure = f"preparing failed: {said}"
                return None
        os.sync()
        command = f'exec "$B/bench_launch" "{self.scratch}" {entry.command}'
        result = subprocess.run(["bash", "-c", command], env=self.environment, capture_output=True, stdin=subprocess.DEVNULL)
        try:
            code, wall, cpu, memory, sync = result.stdout.decode(errors="replace").strip().splitlines()[-1].split()
        except (IndexError, ValueError):
            code = "no figures"
        if code != "0":
            entry.failure = f"exit {code}: {result.stderr.decode(errors='replace').strip()[-300:]}"
            return None
        if entry.check:
            good, said = self.shell(entry.check)
            if not good:
                entry.failure = f"check failed: {said}"
                return None
        return float(wall), float(cpu), int(memory), float(wall) + float(sync)

    def measure(self, entries):
        """One round that does not count, then the others; an entry that fails once drops out and says why."""
        for turn in range(self.rounds + 1):
            for entry in entries:
                if entry.failure:
                    continue
                figures = self.once(entry)
                if figures and turn > 0:
                    entry.wall.append(figures[0])
                    entry.cpu.append(figures[1])
                    entry.memory.append(figures[2])
                    entry.synced.append(figures[3])
        shutil.rmtree(f"{self.scratch}/run", ignore_errors=True)


def ratios(ours, theirs):
    return sorted(a / b for a, b in zip(ours, theirs) if b > 0)


def spread(values):
    return f"{statistics.median(values):5.2f} ({values[0]:.2f}-{values[-1]:.2f})" if values else "    -"


def report(title, aim, entries, ours, reference):
    """Prints a table; every ratio is to the entry named `reference`, taken inside one round."""
    print(f"\n## {title}\naim: {aim}")
    base = next(e for e in entries if e.name == reference)
    if base.failure:
        print(f"  {reference}: {base.failure}")
    print(f"  {'':34} {'wall s':>8}  {'wall ratio':>18}  {'wall+sync ratio':>18}  {'CPU ratio':>18}  {'MiB':>5}")
    for entry in entries:
        if entry.failure or not entry.wall:
            print(f"  {entry.name:34} {entry.failure or 'not run'}")
            continue
        mark = "*" if entry.name in ours else " "
        row = [spread(ratios(getattr(entry, k), getattr(base, k))) for k in ("wall", "synced", "cpu")]
        print(f" {mark}{entry.name:34} {statistics.median(entry.wall):8.3f}  {row[0]:>18}  {row[1]:>18}  {row[2]:>18}  "
              f"{max(entry.memory) / 1024:5.0f}")
    sys.stdout.flush()


def exponent(sizes, seconds):
    """Slope of the line through the logarithms."""
    import math
    xs, ys = [math.log(s) for s in sizes], [math.log(max(t, 1e-6)) for t in seconds]
    mx, my = statistics.mean(xs), statistics.mean(ys)
    return sum((x - mx) * (y - my) for x, y in zip(xs, ys)) / sum((x - mx) ** 2 for x in xs)
