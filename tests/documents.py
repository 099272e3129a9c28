#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Runs the commands of the documents, block by block, as a reader would on a machine that has the packages they name.

    documents.py [DOCUMENT...]

A block is text indented by four spaces, or fenced as `sh`; other fenced blocks and JSON are data. README.md comes first
and starts in an empty folder: what it clones is where the other documents' commands run. Its builds stay; other new
files are removed after each document. A command that cannot run is in CANNOT_RUN, and one there that no document has is a failure.
"""
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
DOCUMENTS = ["README.md", "CONTRIBUTING.md", "bench/README.md"] + sorted(f"docs/{p.name}" for p in ROOT.glob("docs/*.md"))

# Regular expressions for the beginning of a command, and why it does not run.
CANNOT_RUN = [
    (r".*\bsudo ", "changes the machine"),
    (r"scripts/(test\.sh|bare|release\.sh)|dpkg-buildpackage", "a target of its own, or longer than all others together"),
    (r"(build/release/)?brumbler live|jackd|jack_|jalv", "needs a JACK server: tests/live and tests/lv2 have one"),
    (r"sox .*play", "needs a sound card"),
    (r"cat /proc/asound|journalctl|systemd-analyze", "needs a board with a sound card that systemd has started"),
    (r"ffmpeg|ecasound|gst-launch", "other programs, which no group of scripts/setup installs"),
    (r"bin/brumbler", "is in the unpacked archive: tests/package.sh"),
    (r"build/release/brumbler_(bench|priority)|bench/|node bench/|clang-tidy", "takes many minutes"),
]

# What a reader brings along, by the names in the documents.
RECORDINGS = "in.wav take.wav take.flac takes/one.flac takes/two.flac before.wav after.wav YOUR-RECORDING.wav".split()


def blocks(text):
    """The blocks of commands in a document."""
    fences = re.split(r"^```(\w*)\n(.*?)^```$", text, flags=re.M | re.S)
    data = re.compile(r"\s*[{[]")
    for prose, language, fenced in zip(fences[0::3], fences[1::3] + [""], fences[2::3] + [""]):
        for block in re.findall(r"(?<=\n\n)(?:    .*\n)+", prose):
            if not data.match(block):
                yield re.sub("^    ", "", block, flags=re.M)
        if language == "sh":
            yield fenced


def commands(block):
    """The commands of a block: lines, with continuations and here-documents."""
    pattern = r".*<<'(\w+)'.*\n(?:.*\n)*?\1\n|(?:.*\\\n)*.*\n"
    return [m.group(0) for m in re.finditer(pattern, block) if m.group(0).strip()]


def main():
    used = set()
    failures = []
    chosen = sys.argv[1:] or DOCUMENTS
    with tempfile.TemporaryDirectory() as work:
        work = pathlib.Path(work)
        (work / "home").mkdir()
        clone = work / "brumbler"
        environment = os.environ | {
            "HOME": str(work / "home"),
            "DESTDIR": str(work / "installed"),  # for cmake --install
            "PATH": f"{clone}/build/release:{ROOT}/build/release:{os.environ['PATH']}",
        }

        def run(script, folder):
            return subprocess.run(["bash", "-ec", script.replace("clone URL", f"clone {ROOT}")], cwd=folder, env=environment,
                                  stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, errors="replace")

        for document in chosen:
            folder = clone
            if document == "README.md":
                folder = work
            elif not clone.exists():
                run(f"git clone URL {clone}", work)
            for block in blocks((ROOT / document).read_text()):
                script = ""
                for command in commands(block):
                    reason = next((r for r in CANNOT_RUN if re.match(r[0], command)), None)
                    if reason:
                        used.add(reason)
                    else:
                        script += command
                if not script.strip():
                    continue
                started = time.monotonic()
                make = "".join(f"[ -e {r} ] || {{ mkdir -p takes && brumbler riff {r} >/dev/null; }}\n" for r in RECORDINGS)
                if folder != work:
                    run(make, folder)
                done = run(script + "\npwd >" + str(work / "folder"), folder)
                failed = done.returncode != 0
                print(f"{'FAILED' if failed else 'ok':6} {time.monotonic() - started:5.0f} s  {document}: "
                      f"{script.strip().splitlines()[0]}", flush=True)
                if failed:
                    failures.append(document)
                    print(script + "\n" + done.stdout[-4000:])
                    if folder == work:  # nothing to run the others in
                        sys.exit(1)
                else:
                    folder = pathlib.Path((work / "folder").read_text().strip())
            if clone.exists():
                run("git clean -fdq; git checkout -q .", clone)
    if chosen is DOCUMENTS:
        for pattern in CANNOT_RUN:
            if pattern not in used:
                failures.append(pattern[0])
                print(f"FAILED: no document has a command like \"{pattern[0]}\" any more")
    sys.exit(1 if failures else 0)


if __name__ == "__main__":
    main()
