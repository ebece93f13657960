#!/usr/bin/env python3
"""Runs every registered test under valgrind, with one combination of its parameters, and verifies it too.

  memcheck.py TAZMET

Of each parameter the first value is taken, sizes are small. Exits with 77 without valgrind, with 1 when it found
an error or a test failed.
"""
import os
import re
import shutil
import subprocess
import sys
import tempfile

SMALL = {"ImageSize": "67x48", "CodecSize": "96x64", "Method": "Manual"}


def first_values(ini):
    """The ini file's text with one value a key."""
    lines = []
    for line in ini.splitlines():
        name, equals, value = line.partition("=")
        lines.append(f"{name}={SMALL.get(name, value.split(';')[0])}" if equals else line)
    return "\n".join(lines) + "\n"


def main():
    tazmet = os.path.abspath(sys.argv[1])
    if not shutil.which("valgrind"):
        print("valgrind is not installed")
        return 77
    with tempfile.TemporaryDirectory() as folder:
        ini = os.path.join(folder, "small.ini")
        subprocess.run([tazmet, "-B", "-I" + ini], cwd=folder, stdout=subprocess.DEVNULL, check=True)
        with open(ini, encoding="utf-8") as file:
            text = first_values(file.read())
        with open(ini, "w", encoding="utf-8") as file:
            file.write(text)
        done = subprocess.run(
            ["valgrind", "-q", "--error-exitcode=99", "--leak-check=no", tazmet, "-B", "-V", "-i" + ini,
             "-dNumLoops=1", "-dTimeLimit=1", "-w", "OFF"],
            cwd=folder, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, check=False)
    counts = {name: int(count) for name, count in
              re.findall(r"\| *\.*-?([A-Za-z][\w ]*?) *: (\d+) *\|", done.stdout)}
    print(done.stderr[-20000:])
    print(f"exit code {done.returncode}; {counts}")
    failed = [line for line in done.stdout.splitlines() if "FAIL" in line and "Result" in line]
    print("\n".join(failed))
    if done.returncode == 99 or done.returncode < 0 or counts.get("Number of tests", 0) < 190:
        return 1
    return 1 if counts["Fails"] or failed else 0


if __name__ == "__main__":
    sys.exit(main())
