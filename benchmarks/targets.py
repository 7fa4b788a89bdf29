"""What the library is held to: one table of all targets.

A target holds one measure of one benchmark, at each size it names, against a limit: of the
measure itself, or of its ratio to that of a peer, or to its own at another size. Measures are
"ns", the time of one operation, and the names of counters.
"""

from dataclasses import dataclass, replace


@dataclass(frozen=True)
class Target:
    group: str
    operation: str
    limits: dict  # by size
    measure: str = "ns"
    peer: str = ""  # of the ratio; empty: the measure itself
    than: int = 0  # the size of the other side of the ratio
    least: bool = False  # the limit is a lower one


def _hashed():
    ratios = {
        "Hit": (1.1, 1.4, 1.5),
        "Miss": (1.1, 1.1, 2.0),
        "Insert": (0.6, 0.7, 1.0),
        "EraseInsert": (1.0, 1.1, 1.2),
        "Iterate": (0.7, 0.7, 1.0),
    }
    sizes = (1_000, 65_536, 1_000_000)
    # Names as keys may cost three tenths more. With the bytes of a key and its value.
    kinds = {
        "Hashed64": (1.0, 8 + 48),
        "HashedEncapAdjacency": (1.0, 8 + 56),
        "HashedString": (1.3, 8 + 48),
        "HashedConnectorKey": (1.3, 32 + 48),
    }
    for group, (factor, payload) in kinds.items():
        for operation, limits in ratios.items():
            by_size = {size: limit * factor for size, limit in zip(sizes, limits)}
            yield Target(group, operation, by_size, peer="Absl")
        yield Target(group, "Copy", dict.fromkeys(sizes, 50))
        yield Target(group, "CopyChange", dict.fromkeys(sizes, 3_000))
        yield Target(group, "WorstInsert", {1_000_000: 0.1}, "worst_us", peer="Absl")
        yield Target(group, "WorstInsert", {1_000_000: 10}, "p99.99_us")
        yield Target(group, "Memory", dict.fromkeys(sizes, 1.5 * payload + 8), "bytes/member")
        yield Target(group, "Memory", dict.fromkeys(sizes, 1), "bytes/member", peer="Absl")
    yield Target("Hashed64", "Memory", dict.fromkeys(sizes, 1), "bytes/member", peer="Std")


def _ordered():
    for group in ("Ordered64", "OrderedString", "OrderedConnectorKey", "OrderedChildren"):
        sizes = (1_000, 65_536) if group == "OrderedChildren" else (1_000, 65_536, 1_000_000)
        for operation in ("Hit", "Miss", "Insert", "Erase", "Iterate"):
            yield Target(group, operation, dict.fromkeys(sizes, 1), peer="Std")
        yield Target(
            group, "Memory", dict.fromkeys(sizes, 1), "allocations/member", peer="Std")


# An edit among a million members costs what it costs among a thousand, within twice.
def _edits():
    for operation in ("Edit", "ColdEdit"):
        yield Target("ScaleEdit", operation, {1_000_000: 2}, than=1_000)


def _mutators():
    yield Target("Mutators", "SetUnchanged", {1: 2})
    yield Target("Mutators", "SetChanged", {1: 1.3}, peer="ByHand")
    yield Target("Mutators", "SetChanged", {1: 1 / 12}, peer="BoostSignals2")
    yield Target("Mutators", "MemberSet", {1_000: 1.2}, peer="BareCollection")


def _attribute_log():
    for bytes in (25, 64):
        for operation in ("Encode", "Decode"):
            for peer, limit in (("ByHand", 1.5), ("Protobuf", 1 / 3)):
                yield Target("AttributeLog", f"{operation}{bytes}", {65_536: limit}, peer=peer)
        yield Target("AttributeLog", f"Apply{bytes}", {65_536: 1.5}, peer="BareCollection")


def _end_to_end():
    sizes = (100_000, 1_000_000)
    for peer, least in (("Ovsdb", 80), ("Redis", 6)):
        yield Target(
            "EndToEnd", "Sync", dict.fromkeys(sizes, least), "members/s", peer, least=True)
    yield Target(
        "EndToEnd", "Changes", dict.fromkeys((10_000, *sizes), 5e6), "heard/s", least=True)


targets = [
    *_hashed(),
    *_ordered(),
    *_edits(),
    *_mutators(),
    *_attribute_log(),
    *_end_to_end(),
]


def slower(factor):
    """The targets of hashed collections on machines without vector instructions."""
    for target in _hashed():
        if target.measure == "bytes/member":
            continue
        limits = {size: limit * factor for size, limit in target.limits.items()}
        yield replace(target, limits=limits)


targets_of_run = {
    "large-pages": list(_hashed()),
    "portable": list(slower(2)),
    "x86-32": list(slower(2)),
}
