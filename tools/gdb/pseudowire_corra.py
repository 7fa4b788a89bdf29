"""Shows handles, strings, collections and entities in gdb as their users think of them.

    (gdb) print config
    $1 = Zin::Ptr to Pseudowire::Config "pw"
    (gdb) print *config
    $2 = Pseudowire::Config "pw" = {mtu = 1500, patch = hashed collection of 1 = {["a"] = ...}}

gdb loads this file by itself with the installed library; otherwise: source FILE. Nothing is
called in the process, so core files are shown too, and * and -> of handles work where the
compiler left no function behind. Debug information of the types is needed.
A walk over a collection ends where its memory makes no sense.
"""

import re

import gdb
import gdb.printing
import gdb.xmethod

TAG_MASK = 15
LIST_TAG = 8
DIRECTORY_TAGS = 7
DIRECTORY_BITS_MAX = 7
INNER_TAG = 9
BUCKET_MAX = 15
NOT_SHOWN = re.compile(r"^(_vptr.*|entityKey_|notifieeList_|word_|parent_)$")


def memory(address, type_name):
    return gdb.Value(address).cast(gdb.lookup_type(type_name).pointer()).dereference()


def bases(type_):
    return [field.type.strip_typedefs() for field in type_.fields() if field.is_base_class]


def derives_from(type_, name):
    type_ = type_.strip_typedefs().unqualified()
    if type_.name == name:
        return True
    if type_.code != gdb.TYPE_CODE_STRUCT:
        return False
    return any(derives_from(base, name) for base in bases(type_))


def most_derived(value):
    """The whole object of which an entity is seen as a base."""
    if value.address is None:
        return value
    return value.address.cast(value.address.dynamic_type).dereference()


def text_of(string):
    """Of a Zin::String."""
    storage = string["storage_"]
    if int(storage) == 0:
        return ""
    size = int(storage["size"])
    bytes_ = (storage + 1).cast(gdb.lookup_type("char").pointer())
    return bytes_.string("utf-8", "backslashreplace", length=size)


def quoted(text):
    return '"' + text.replace("\\", "\\\\").replace('"', '\\"') + '"'


def identity_of(entity):
    """The type and the name, or the key, of an entity."""
    entity = most_derived(entity)
    try:
        key = entity["entityKey_"]
    except gdb.error:
        return str(entity.type.unqualified())
    is_string = key.type.strip_typedefs().unqualified().name == "Zin::String"
    name = quoted(text_of(key)) if is_string else key.format_string()
    return "%s %s" % (entity.type.unqualified(), name)


class StringPrinter:
    def __init__(self, value):
        self.value = value

    def to_string(self):
        return text_of(self.value)

    def display_hint(self):
        return "string"


class PtrPrinter:
    def __init__(self, value):
        self.value = value

    def to_string(self):
        object_ = self.value["object_"]
        pointee = self.value.type.strip_typedefs().template_argument(0)
        if int(object_) == 0:
            return "Zin::Ptr<%s> to nothing" % pointee
        if derives_from(pointee, "Zin::Entity"):
            return "Zin::Ptr to " + identity_of(object_.dereference())
        return "Zin::Ptr<%s> to %s" % (pointee, object_.format_string(raw=True))


class ValuePrinter:
    """The fields, under their names in the schema."""

    def __init__(self, value):
        self.value = value

    def to_string(self):
        return None

    def children(self):
        for field in self.value.type.strip_typedefs().fields():
            if not field.is_base_class and hasattr(field, "bitpos"):
                yield field.name.rstrip("_"), self.value[field]


class EntityPrinter:
    """The attributes that are stored, those of the base first."""

    def __init__(self, value):
        self.value = most_derived(value)

    def to_string(self):
        return identity_of(self.value)

    def children(self):
        return self.attributes(self.value, self.value.type.strip_typedefs())

    def attributes(self, value, type_):
        for field in type_.fields():
            if field.is_base_class:
                if derives_from(field.type, "Zin::PtrInterface"):
                    yield from self.attributes(value[field], field.type.strip_typedefs())
            elif not field.artificial and hasattr(field, "bitpos"):
                if not NOT_SHOWN.match(field.name):
                    yield field.name.rstrip("_"), value[field]


class CollectionPrinter:
    """Members as a map from keys to values. The keys of a set, and values in which their keys
    lie, stand alone."""

    def __init__(self, value):
        self.value = value
        self.type = value.type.strip_typedefs().unqualified()
        while not re.match(r"Zin::(HashMap2018|RbTreeMap)<", self.type.name):
            self.type = bases(self.type)[0]
        self.core = value.cast(self.type)["core_"]
        inside = re.match(r"Zin::(HashMap2018|RbTreeMap)NodeInternalKey<", self.kind().name)
        held = self.type.template_argument(2).strip_typedefs()
        is_child = re.match(r"Zin::Ptr<", held.name or "")
        self.alone = held.code == gdb.TYPE_CODE_VOID or (inside and not is_child)

    def kind(self):
        coll = self.type.template_argument(0).strip_typedefs()
        while not re.match(r"Zin::(HashMap2018Node|RbTreeMapNode)", coll.name):
            coll = bases(coll)[0]
        return coll

    def to_string(self):
        members = int(self.core["members_"])
        return "%s collection of %d" % (self.order, members) if members else "empty collection"

    def children(self):
        for index, node in enumerate(self.nodes()):
            if index == int(self.core["members_"]):
                return
            if self.alone:
                names = [field.name for field in node.type.fields()]
                yield "[%d]" % index, node["value_" if "value_" in names else "key_"]
                continue
            key, value = self.parts(node)
            yield "key %d" % index, key
            yield "value %d" % index, value

    @staticmethod
    def parts(node):
        """The key and the value; of a child its identity, lest a whole tree is printed."""
        if not derives_from(node.type, "Zin::Entity"):
            if "key_" in [field.name for field in node.type.fields()]:
                return node["key_"], node["value_"]
            node = node["value_"]["object_"].dereference()
        return most_derived(node)["entityKey_"], identity_of(node)

    def display_hint(self):
        return "array" if self.alone else "map"


class HashedPrinter(CollectionPrinter):
    order = "hashed"

    def nodes(self):
        if int(self.core["members_"]):
            yield from self.below(int(self.core["root_"]), self.kind())

    def below(self, slot, node):
        tag = slot & TAG_MASK
        if tag == 0:
            yield from self.in_bucket(slot, node)
        elif tag == LIST_TAG:
            list_ = memory(slot - LIST_TAG, "Zin::hashed::CollisionList")
            for position in range(int(list_["count"])):
                yield self.entry(slot - LIST_TAG + list_.type.sizeof, position, node)
        else:
            bits = DIRECTORY_BITS_MAX + 1 - (slot & DIRECTORY_TAGS)
            if tag == INNER_TAG:
                bits = DIRECTORY_BITS_MAX
            yield from self.in_directory(slot & ~TAG_MASK, bits, node)

    def in_directory(self, address, bits, node):
        word = gdb.lookup_type("unsigned long")
        first = address + gdb.lookup_type("Zin::hashed::Directory").sizeof
        last = None
        for index in range(1 << bits):
            at = gdb.Value(first + index * word.sizeof).cast(word.pointer())
            slot = int(at.dereference())
            # A leaf fills neighbouring slots.
            if slot != last:
                yield from self.below(slot, node)
            last = slot

    def in_bucket(self, address, node):
        bucket = memory(address, "Zin::hashed::Bucket")
        used = [p for p in range(BUCKET_MAX) if int(bucket["fingerprints"]["at"][p])]
        for position in used:
            yield self.entry(address + bucket.type.sizeof, position, node)

    @staticmethod
    def entry(entries, position, node):
        at = gdb.Value(entries + position * node.sizeof)
        return at.cast(node.pointer()).dereference()


class OrderedPrinter(CollectionPrinter):
    order = "ordered"

    def nodes(self):
        kind = self.kind()
        if kind.name.startswith("Zin::RbTreeMapNodeEntity<"):
            node = kind.template_argument(1)
        else:
            node = gdb.lookup_type(kind.name + "::Node")
        yield from self.below(self.core["root_"], node)

    def below(self, at, node):
        if int(at) == 0:
            return
        yield from self.below(at["left_"], node)
        yield at.cast(node.pointer()).dereference()
        yield from self.below(at["right_"], node)


class Printers(gdb.printing.PrettyPrinter):
    by_name = [
        (re.compile(r"^Zin::String$"), StringPrinter),
        (re.compile(r"^Zin::Ptr<.*>$"), PtrPrinter),
        (re.compile(r"^Zin::(HashMap2018|HSet)<.*>$"), HashedPrinter),
        (re.compile(r"^Zin::RbTreeMap<.*>$"), OrderedPrinter),
    ]

    def __init__(self):
        super().__init__("PseudowireCorra")
        self.known = {}

    def __call__(self, value):
        type_ = value.type
        if type_.code in (gdb.TYPE_CODE_REF, gdb.TYPE_CODE_RVALUE_REF):
            value = value.referenced_value()
            type_ = value.type
        type_ = type_.strip_typedefs().unqualified()
        if type_.code != gdb.TYPE_CODE_STRUCT or not type_.name:
            return None
        if type_.name not in self.known:
            self.known[type_.name] = self.printer_for(type_)
        printer = self.known[type_.name]
        return printer and printer(value)

    def printer_for(self, type_):
        for pattern, printer in self.by_name:
            if pattern.match(type_.name):
                return printer
        if derives_from(type_, "Zin::Entity"):
            return EntityPrinter
        is_value = any((base.name or "").startswith("Zin::Value<") for base in bases(type_))
        return ValuePrinter if is_value else None


class Dereference(gdb.xmethod.SimpleXMethodMatcher):
    def __init__(self, method, result):
        super().__init__("Zin::Ptr." + method, r"^Zin::Ptr<.*>$", "^" + re.escape(method) + "$", result)


gdb.xmethod.register_xmethod_matcher(
    gdb.current_objfile(),
    Dereference("operator*", lambda handle: handle["object_"].dereference()),
    replace=True,
)
gdb.xmethod.register_xmethod_matcher(
    gdb.current_objfile(), Dereference("operator->", lambda handle: handle["object_"]), replace=True
)
gdb.printing.register_pretty_printer(gdb.current_objfile(), Printers(), replace=True)
