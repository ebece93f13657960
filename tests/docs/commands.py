"""commands.py SOURCES BINARIES: runs every command of our programs that a page shows.

Those are lines of indented blocks that begin with a program's name, and the examples of man pages. Each
page's commands run in their order in a folder of their own, beside the sample pictures and a note.
Measurements are made short; what is measured is the business of others.
"""
import os
import re
import shlex
import shutil
import subprocess
import sys
import tempfile

PROGRAMS = ("tazmet", "jpegcodec", "jpeg2kcodec", "tazreport")
# What the commands that read results are given.
RESULTS = ("results/tazmet", "results/before", "a1", "a2", "a3", "b1", "b2", "b3", "sse4", "avx2", "avx512")
# Keys that come last and win: one call, on data of no size.
SHORT = ["-dMethod=Manual", "-dNumLoops=1", "-dImageSize=32x16"]
SMALL_PICTURE = ["-dimageInput=jaehne", "-dsize=64x48"]
# What needs a second build of the library, and the run of everything.
ELSEWHERE = re.compile(r"LD_LIBRARY_PATH|LD_PRELOAD| -D |^tazmet -B$|part\*")


def commands_of(path):
    with open(path, encoding="utf-8") as file:
        text = file.read()
    if path.endswith(".1"):
        examples = re.search(r"\.SH EXAMPLES\n(.*?)(?=\n\.SH|\Z)", text, re.S)
        lines = examples.group(1).replace("\\-", "-").split("\n") if examples else []
        lines = [re.sub(r"^\.B ", "", line) for line in lines]
    else:
        lines = [line[4:] for line in text.split("\n") if line.startswith("    ")]
    for line in lines:
        line = re.sub(r"^\$ ", "", line).split("   ")[0].strip()
        line = re.sub(r"^(\./measure|build/bin/tazmet)(?= |$)", "tazmet -B", line)
        if line.split(" ")[0] in PROGRAMS and not ELSEWHERE.search(line):
            yield line


def make_results(binaries, folder):
    """A run of the functions that the pages look for, under every name that they use."""
    os.makedirs(os.path.join(folder, "results"), exist_ok=True)
    words = ["-B", "-fAdd128", "-fDCTQuantFwd8x8LS", "-j", "-nresult", f"-l{folder}", *SHORT]
    subprocess.run([os.path.join(binaries, "tazmet"), *words], check=True, capture_output=True, cwd=folder)
    for name in RESULTS:
        shutil.copy(os.path.join(folder, "result.jsonl"), os.path.join(folder, name + ".jsonl"))


def run(line, binaries, folder):
    words = shlex.split(line.split(" > ")[0])
    if words[0] == "tazmet":
        words += SHORT + ([] if "bmpFile" in line else SMALL_PICTURE) + [f"-l{folder}"]
    words[0] = os.path.join(binaries, words[0])
    return subprocess.run(words, cwd=folder, capture_output=True, text=True, timeout=120,
                          stdin=subprocess.DEVNULL)


def went_well(line, done):
    # A comparison tells of something slower by its exit code, and on data of no size noise decides.
    compares = " -c " in line and "slower" in done.stdout
    # A key that a page misspells is refused with this word, and the run goes on.
    return done.returncode in ((0, 1) if compares else (0,)) and "ignored: " not in done.stdout


def main():
    sources, binaries = map(os.path.abspath, sys.argv[1:3])
    docs = os.path.join(sources, "docs")
    pages = [os.path.join(sources, "README.md")]
    pages += sorted(os.path.join(docs, name) for name in os.listdir(docs)
                    if name.endswith((".md", ".1")))
    failed, count, seen = 0, 0, set()
    for page in pages:
        with tempfile.TemporaryDirectory() as folder:
            for name in ("rose.bmp", "sbikers2.bmp"):
                shutil.copy(os.path.join(binaries, name), folder)
            with open(os.path.join(folder, "note.xml"), "w", encoding="utf-8") as file:
                file.write("<note>of a user</note>\n")
            shown = list(commands_of(page))
            if any(line.startswith("tazreport") for line in shown):
                if not os.path.exists(os.path.join(binaries, "tazreport")):
                    shown = [line for line in shown if not line.startswith("tazreport")]
                else:
                    make_results(binaries, folder)
            for line in shown:
                if line.startswith("tazmet") and line in seen:
                    continue
                seen.add(line)
                done = run(line, binaries, folder)
                count += 1
                if not went_well(line, done):
                    failed += 1
                    print(f"{os.path.basename(page)}: {line}\n  ends with {done.returncode}:",
                          *(done.stdout + done.stderr).split("\n")[-12:], sep="\n    ")
    if count < 30:
        sys.exit(f"only {count} commands were found")
    print(f"{count} commands, {failed} failed")
    sys.exit(1 if failed else 0)


if __name__ == "__main__":
    main()
