"""Run by gdb on the program of state.cpp: what it shows is what the program holds."""

import re

import gdb

MEMBERS = 40


def shown(expression):
    return gdb.execute("print " + expression, to_string=True).partition(" = ")[2].rstrip("\n")


def pairs(text):
    return dict(re.findall(r'\[(\d+)\] = "(\d*)"', text))


TEXTS = {
    "text": r'"to \"Berlin\""',
    "none": '""',
    "nobody": "Zin::Ptr<Pseudowire::Config> to nothing",
    "config": 'Zin::Ptr to Pseudowire::Config "pw"',
    "config->mtu_": "1500",
    "config->patch_": 'hashed collection of 1 = {["metro"] = Pseudowire::Patch "metro"}',
    "bench->tag_": "empty collection",
    "steps": 'ordered collection of 2 = {[3] = "heat", [7] = "stir"}',
    # By its base: the whole of it, with what it is and holds.
    "base": 'Lab::Rack "left" = {cooled = true, height = 1, slot = ordered collection of 2 = '
    '{["a"] = Lab::Slot "a", ["b"] = Lab::Slot "b"}, spare = Zin::Ptr<Lab::Sample> to nothing}',
}
# Parts of what is long.
PARTS = {
    "*config": ['Pseudowire::Config "pw" = {', "mtu = 1500", "resolutionRibProfileConfig = {useDefault"],
    "*patch": ["connectorKey = hashed collection of 1 = {{connectorType = Pseudowire::ConnectorType::ldp, "
               'name = "pw1"'],
    "config->connector_": ["hashed collection of 1 = {{key = {connectorType"],
    "*bench": ['Lab::Bench "bench" = {flag = true', 'label = "oak"', "colour = Lab::Colour::violet"],
}

faults = 0


def check(what, expected, found):
    global faults
    if expected != found:
        faults += 1
        print("%s\n  expected: %s\n  found:    %s" % (what, expected, found))


def check_all():
    for expression, text in TEXTS.items():
        check(expression, text, shown(expression))
    for expression, parts in PARTS.items():
        text = shown(expression)
        check(expression, parts, [part for part in parts if part in text] or text)
    # All members, whatever their order is in this process.
    gdb.execute("set print elements 0")
    check("reading", {str(i): str(i * i) for i in range(MEMBERS)}, pairs(shown("reading")))
    gdb.execute("set print elements 5")
    check("reading, shortened", True, len(pairs(shown("reading"))) < MEMBERS)


try:
    gdb.execute("break look")
    gdb.execute("run")
    gdb.execute("up")
    check_all()
except gdb.error as error:
    print(error)
    faults += 1
print("faults: %d" % faults)
gdb.execute("kill")
gdb.execute("quit %d" % min(faults, 1))
