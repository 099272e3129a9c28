#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Joins the page's files into one: join.py WASM VERSION OUTPUT

Modules become one script in the order below, in which none comes before what it needs. Comments that fill a line, empty
lines and indentation are removed.
"""
import base64
import hashlib
import json
import re
import sys
import zlib
from pathlib import Path

PAGE = Path(__file__).resolve().parent / "page"
CATALOG = PAGE.parents[1] / "catalog"
MOST_BYTES = 280_000


def code(*names):
    """The files, one after the other."""
    return "".join(shrink((PAGE / name).read_text("utf-8")) for name in names)


def shrink(text):
    text = re.sub(r"\n *//[^\n]*", "", "\n" + text)
    text = re.sub(r"/\*.*?\*/", "", text, flags=re.DOTALL)
    text = re.sub(r"\nimport [^;]*;", "", text)
    text = text.replace("\nexport ", "\n")
    return re.sub(r" *\n[ \n]*", "\n", text)


def pedal_variables():
    """catalog/pedal.json as variables of the style: --pedal-NAME."""
    pedal = json.loads((CATALOG / "pedal.json").read_text("utf-8"))
    values = {name: f"{value}px" for name, value in pedal["geometry"].items()} | pedal["colours"]
    used = {name: value for name, value in values.items() if f"(--pedal-{name.replace('_', '-')})" in style}
    return ":root{" + "".join(f"--pedal-{name.replace('_', '-')}:{value};" for name, value in used.items()) + "}"


def policy_hash(text):
    """The hash by which a Content-Security-Policy allows an inline script or style."""
    return f"'sha256-{base64.b64encode(hashlib.sha256(text.encode()).digest()).decode()}'"


wasm, version, output = sys.argv[1:]
style = code("style.css")
parts = {
    "SCRIPT": code("effect.js", "bank.js", "slices.js", "recording.js", "render.js", "controls.js", "speaker.js", "level.js",
                   "engine.js", "input.js", "knob.js", "midi.js", "pictures.js", "undo.js", "compare.js", "sound.js",
                   "loopPart.js", "listen.js", "guitar.js", "recorder.js", "tuner.js", "trim.js", "programs.js", "link.js",
                   "store.js", "foot.js",
                   "main.js"),
    "WORKLET": code("effect.js", "worklet.js"),
    "STYLE": pedal_variables() + style,
    "VERSION": version,
    "WASM": base64.b64encode(zlib.compress(Path(wasm).read_bytes(), 9)).decode(),
    "CATALOG": '{{"parameters": {}, "presets": {}, "programs": {}}}'.format(
        *((CATALOG / name).read_text("utf-8") for name in ["parameters.json", "presets.json", "programs.json"])),
}
parts["SCRIPT_HASH"] = policy_hash(parts["SCRIPT"])
parts["STYLE_HASH"] = policy_hash(parts["STYLE"])
page = (PAGE / "brumbler.html").read_text("utf-8")
page = page.replace("<!doctype html>", "<!doctype html>\n<!-- SPDX-License-Identifier: MIT -->", 1)
page = re.sub("@([A-Z_]+)@", lambda match: parts[match[1]], page)
size = Path(output).write_bytes(page.encode())
if size > MOST_BYTES:
    Path(output).unlink()
    sys.exit(f"{output} would have {size} bytes; the most is {MOST_BYTES}")
