#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Writes what is made from catalog/*.json (catalog/README.md says what is in them).

    generate.py header FOLDER               the C++ headers catalog.h and pedal.h
    generate.py turtle FOLDER KEY=VALUE...  the LV2 bundle's Turtle and its style for MOD, from the templates in lv2/

A template's @KEY@ is replaced by VALUE. `turtle` needs VERSION and DESCRIPTION of the project, and SUFFIX, the file name
extension of the bundle's library. A fault in the catalog ends the script with status 1 and a message that names the entry.
"""
import json
import re
import sys
from pathlib import Path

CATALOG = Path(__file__).resolve().parent
LV2 = CATALOG.parent / "lv2"
PARAMETER_KEYS = ["label", "scale", "minimum", "maximum", "default", "steps", "priority", "controllers", "does"]


def read(name, keys):
    """The entries of a file. Each needs a unique symbol and a value for each of `keys`."""
    try:
        entries = json.loads((CATALOG / name).read_text("utf-8"))
    except ValueError as fault:
        sys.exit(f"catalog/{name}: {fault}")
    symbols = set()
    for entry in entries:
        symbol = entry.get("symbol", "")
        if not re.fullmatch("[a-z][a-z-]*", symbol) or symbol in symbols:
            sys.exit(f'catalog/{name}: the symbol "{symbol}" is not lower-case letters and hyphens, or is there twice')
        symbols.add(symbol)
        for key in keys:
            if key not in entry:
                sys.exit(f'catalog/{name}: "{symbol}" has no "{key}"')
    return entries


def quote(text):
    """A string literal of C++, and of Turtle."""
    return '"' + text.replace("\\", "\\\\").replace('"', '\\"') + '"'


def number(value):
    return f"{value:.15g}"


def decimal(value):
    """A number for Turtle. Some hosts do not accept an integer as the value of a control."""
    return number(value) if "." in number(value) else number(value) + ".0"


def fill(template, values):
    return re.sub("@([A-Z0-9_]+)@", lambda match: str(values[match[1]]), template.read_text("utf-8"))


def write_header(file, text):
    """Leaves a file that has the text already: nothing that includes it is compiled again."""
    if not file.exists() or file.read_text("utf-8") != text:
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_text(text, "utf-8")


def catalog_header():
    rows = ""
    for p in PARAMETERS:
        texts = ", ".join(quote(p.get(key, "")) for key in ["name", "symbol", "label", "does"])
        scale = "toggle" if p["scale"] == "switch" else p["scale"]
        numbers = ", ".join(number(p[key]) for key in ["minimum", "maximum", "default", "steps"])
        controllers = ", ".join(map(number, p["controllers"]))
        rows += f"    {{{texts},\n     Scale::{scale}, {numbers}, {{{controllers}}}}},\n"
    presets = ""
    for preset in PRESETS:
        values = ", ".join(number(preset.get(p["symbol"], p["default"])) for p in PARAMETERS)
        presets += f'    {{"{preset["symbol"]}", {quote(preset["label"])}, {{{values}}}}},\n'
    programs = json.loads((CATALOG / "programs.json").read_text("utf-8"))
    return fill(CATALOG / "catalog.h.in", {
        **{key.upper(): value for key, value in programs.items()},
        "INDICES": ", ".join("k" + p["symbol"].capitalize() for p in PARAMETERS),
        "EFFECT_PARAMETERS": sum("name" in p for p in PARAMETERS),
        "ROWS": rows,
        "PARAMETERS": len(PARAMETERS),
        "PRESET_ROWS": presets,
    })


def read_pedal():
    """Lengths and colours by name."""
    try:
        pedal = json.loads((CATALOG / "pedal.json").read_text("utf-8"))
        lengths = {name: number(value) for name, value in pedal["geometry"].items()}
        colours = {name: f"#{int(value[1:], 16):06x}" for name, value in pedal["colours"].items()}
    except (ValueError, KeyError, TypeError) as fault:
        sys.exit(f"catalog/pedal.json: {fault!r}")
    return lengths, colours


def pedal_header():
    def constants(kind, values):
        names = {name: "k" + "".join(word.capitalize() for word in name.split("_")) for name in values}
        return "".join(f"inline constexpr {kind} {names[name]} = {value};\n" for name, value in values.items())
    lengths, colours = read_pedal()
    return fill(CATALOG / "pedal.h.in", {
        "GEOMETRY": constants("double", lengths),
        "COLOURS": constants("unsigned", {name: value.replace("#", "0x") for name, value in colours.items()}),
    })


def audio_port(uri, direction, symbol):
    """A port of audio. SIDE_left and SIDE_right belong to the group SIDE."""
    side, _, place = symbol.partition("_")
    member = [f"pg:group <{uri}#{side}>", f"lv2:designation pg:{place}"] if place else []
    return [f"a lv2:AudioPort , lv2:{direction}Port", symbol, symbol.replace("_", " ").capitalize(), *member]


def control_port(uri, p):
    """The port of a parameter. Only the switch has scale points: hosts show a port that has any as a list of them."""
    steps = f"pprops:rangeSteps {p['steps']}"
    scale = {
        "switch": ["lv2:designation lv2:enabled", "lv2:portProperty lv2:toggled",
                   'lv2:scalePoint [ rdfs:label "Off" ; rdf:value 0 ] , [ rdfs:label "On" ; rdf:value 1 ]'],
        "knob": ["units:unit <urn:brumbler:fuzz#knob>", steps],
        "decibels": ["units:unit units:db", steps],
    }[p["scale"]]
    return ["a lv2:ControlPort , lv2:InputPort", p["symbol"], p["label"], f"rdfs:comment {quote(p['does'])}",
            f"pg:group <{uri}#pedal>", *(f"lv2:{key} {decimal(p[key])}" for key in ["default", "minimum", "maximum"]),
            f"pprops:displayPriority {p['priority']}", *scale]


def level_port(uri, symbol, name, does):
    return ["a lv2:ControlPort , lv2:OutputPort", symbol, name, f"rdfs:comment {quote(does)}",
            f"pg:group <{uri}#levels>", "lv2:default 0.0", "lv2:minimum 0.0", "lv2:maximum 1.0", "units:unit units:coef"]


def port(index, fields):
    kind, symbol, name, *more = fields
    lines = [kind, f"lv2:index {index}", f"lv2:symbol {quote(symbol)}", f"lv2:name {quote(name)}",
             f"lv2:shortName {quote(name)}", *more]
    return "[\n\t\t" + " ;\n\t\t".join(lines) + "\n\t]"


def group(uri, kinds, symbol):
    return f'<{uri}#{symbol}>\n\ta {kinds} ;\n\tlv2:name "{symbol.capitalize()}" ;\n\tlv2:symbol "{symbol}"'


def modgui(uri):
    """The plug-in's own page in MOD and PiPedal, with a knob for each parameter but the switch."""
    labels = {p["symbol"]: p["label"] for p in PARAMETERS}
    knobs = " ,\n\t\t\t".join(f'[ lv2:index {i} ; lv2:symbol "{symbol}" ; lv2:name {quote(labels[symbol])} ]'
                              for i, symbol in enumerate(["fuzz", "volume", "trim"]))
    files = "".join(f" ;\n\t\tmodgui:{key} <modgui/{name}-brumbler.{extension}>" for key, name, extension in [
        ("iconTemplate", "icon", "html"), ("stylesheet", "stylesheet", "css"), ("screenshot", "screenshot", "png"),
        ("thumbnail", "thumbnail", "png")])
    return (f'\n<{uri}>\n\tmodgui:gui [\n\t\tmodgui:resourcesDirectory <modgui>{files} ;\n\t\tmodgui:brand "Brumbler" ;\n'
            f'\t\tmodgui:label "Brumbler" ;\n\t\tmodgui:port {knobs}\n\t] .\n')


def turtle(folder, project):
    major, minor, micro = map(int, project["VERSION"].split("."))
    plugins = manifest = presets = modguis = ""
    for uri, name, about, sides in [("urn:brumbler:fuzz", "Brumbler", "", [""]),
                                    ("urn:brumbler:fuzz:stereo", "Brumbler stereo", ", in stereo", ["_left", "_right"])]:
        ports = [audio_port(uri, "Input", "in" + side) for side in sides]
        ports += [audio_port(uri, "Output", "out" + side) for side in sides]
        ports += [control_port(uri, p) for p in PARAMETERS]
        ports += [level_port(uri, f"{side}_level", f"{word} level", f"The peak of the {word.lower()}; 1 is full scale."
                             + (" Of the louder channel." if len(sides) > 1 else ""))
                  for side, word in [("in", "Input"), ("out", "Output")]]
        groups = [group(uri, "pg:InputGroup", "pedal"), group(uri, "pg:OutputGroup", "levels")]
        mains = ""
        if len(sides) > 1:
            groups += [group(uri, "pg:StereoGroup , pg:InputGroup", "in"), group(uri, "pg:StereoGroup , pg:OutputGroup", "out")]
            mains = f" ;\n\tpg:mainInput <{uri}#in> ;\n\tpg:mainOutput <{uri}#out>"
        plugins += fill(LV2 / "plugin.ttl.in", {
            "URI": uri, "NAME": name, "ABOUT": project["DESCRIPTION"] + about,
            # LV2's rule: even numbers are releases, and a new major version would get a new URI.
            "LV2_MINOR": 2 * (minor + 1), "LV2_MICRO": 2 * micro,
            "PORTS": " , ".join(port(i, fields) for i, fields in enumerate(ports)),
            "MAINS": mains, "GROUPS": " .\n\n".join(groups),
        })
        manifest += (f"\n<{uri}>\n\ta lv2:Plugin ;\n\tlv2:binary <brumbler_lv2{project['SUFFIX']}> ;\n"
                     "\trdfs:seeAlso <brumbler.ttl> , <modgui.ttl> .\n")
        modguis += modgui(uri)
        for preset in PRESETS:
            head = f"\n<{uri}#{preset['symbol']}>\n\ta pset:Preset ;\n\tlv2:appliesTo <{uri}> ;\n"
            manifest += head + "\trdfs:seeAlso <presets.ttl> .\n"
            values = " ,\n\t\t".join(f'[ lv2:symbol "{symbol}" ; pset:value {decimal(preset[symbol])} ]'
                                     for symbol in PRESET_SYMBOLS)
            presets += f"{head}\trdfs:label {quote(preset['label'])} ;\n\tlv2:port {values} .\n"
    parts = {"PLUGINS": plugins, "MANIFEST": manifest, "PRESETS": presets, "MODGUI": modguis}
    for values in read_pedal():
        parts |= {name.upper(): value for name, value in values.items()}
    (folder / "modgui").mkdir(parents=True, exist_ok=True)
    for name in ["manifest.ttl", "brumbler.ttl", "presets.ttl", "modgui.ttl", "modgui/stylesheet-brumbler.css"]:
        (folder / name).write_text(fill(LV2 / (name + ".in"), parts), "utf-8")


PARAMETERS = read("parameters.json", PARAMETER_KEYS)
PRESET_SYMBOLS = [p["symbol"] for p in PARAMETERS if p["scale"] != "switch"]  # what a preset has a value for
PRESETS = read("presets.json", ["label", *PRESET_SYMBOLS])

if __name__ == "__main__":
    match sys.argv[1:]:
        case ["header", path]:
            write_header(Path(path) / "catalog.h", catalog_header())
            write_header(Path(path) / "pedal.h", pedal_header())
        case ["turtle", path, *values]:
            turtle(Path(path), dict(value.split("=", 1) for value in values))
        case _:
            sys.exit(__doc__)
