"""Which settings record an entry's ``config`` bytes hold, by the entry's kind
and ``type`` code: the pairings the schema itself makes, as the C++ library
makes them. Inputs and outputs by the table the build generates from the
library's own list (codes not listed, such as FrequencyInput,
AnalogSwitchInput and CurrentSenseInput, carry a record the schema does not
fix); maps by the dimension their type's name gives (every map type holds a
``Map3D``); drivers and handlers hold no record the schema names.
"""

import difflib
import importlib

from gcuschema import Config_pb2
from gcuschema.standard_pairing import MODULES, STANDARD

# The entry kinds, and the enumeration that names each kind's type codes
# (None: the codes are plain numbers).
_TYPE_ENUMS = {
    "input": Config_pb2.Input.Type,
    "output": Config_pb2.Output.Type,
    "map": Config_pb2.Map.MapType,
    "driver": None,
    "handler": None,
}
KINDS = tuple(_TYPE_ENUMS)

# The fields holding the codes: drivers' a uint32, the others' 32-bit signed.
_CODE_RANGES = {kind: (-(2**31), 2**31 - 1) for kind in KINDS}
_CODE_RANGES["driver"] = (0, 2**32 - 1)


def _listed(kind):
    """type code -> (module, record) for one entry kind, from the generated list."""
    return {
        _TYPE_ENUMS[kind].Value(code): (module, record)
        for entry_kind, code, module, record in STANDARD
        if entry_kind == kind
    }


def _map_tables():
    """type code -> (module, record) for maps: the one whole-table record of
    the dimension a map type's name gives ("Interpolated3dMap" -> Map3D)."""
    table = {}
    for name, number in Config_pb2.Map.MapType.items():
        records = [
            "Map%sD" % name[i]
            for i in range(len(name) - 1)
            if name[i].isdigit() and name[i + 1] in "dD"
        ]
        if len(records) == 1 and records[0] in MODULES:
            table[number] = (MODULES[records[0]], records[0])
    return table


INPUT_SETTINGS = _listed("input")
OUTPUT_SETTINGS = _listed("output")
MAP_SETTINGS = _map_tables()
_TABLES = {"input": INPUT_SETTINGS, "output": OUTPUT_SETTINGS, "map": MAP_SETTINGS, "driver": {}, "handler": {}}


def _code_number(kind, code, caller):
    """The number a type code given as a number or a value name stands for."""
    if isinstance(code, bool) or not isinstance(code, (int, str)):
        raise TypeError("%s: code: expected a type code as an int or a value name as a str, got %s"
                        % (caller, type(code).__name__))
    if isinstance(code, str):
        text = code.strip()
        try:
            code = int(text, 10)
        except ValueError:
            code = _named_code(kind, text, caller)
    low, high = _CODE_RANGES[kind]
    if not low <= code <= high:
        raise ValueError("%s: code: %s type code %d does not fit the entry's type field (%d to %d); "
                         "give a code in that range" % (caller, kind, code, low, high))
    return code


def _named_code(kind, name, caller):
    names = _TYPE_ENUMS[kind]
    if names is None:
        raise ValueError("%s: code: %r is not a number; %s type codes are plain numbers (the schema names none)"
                         % (caller, name, kind))
    if name in names.keys():
        return names.Value(name)
    enum = names.DESCRIPTOR
    listing = ", ".join("%s (%d)" % (value.name, value.number) for value in enum.values)
    close = difflib.get_close_matches(name, names.keys(), n=3)
    hint = "did you mean %s? " % " or ".join(repr(c) for c in close) if close else ""
    raise ValueError("%s: code: %r is not a number or a value of %s; %sthe %s codes are: %s"
                     % (caller, name, enum.full_name, hint, kind, listing))


def _kind(kind, caller):
    if not isinstance(kind, str):
        raise TypeError("%s: kind: expected one of %s as a str, got %s"
                        % (caller, ", ".join(KINDS), type(kind).__name__))
    if kind not in _TYPE_ENUMS:
        close = difflib.get_close_matches(kind, KINDS, n=1)
        hint = "did you mean %r? " % close[0] if close else ""
        raise ValueError("%s: kind: %r is not an entry kind; %sthe kinds are: %s"
                         % (caller, kind, hint, ", ".join(KINDS)))
    return kind


def settings_class(kind, code):
    """The record class an entry's ``config`` holds.

    ``kind`` is one of ``KINDS`` ("input", "output", "map", "driver",
    "handler"); ``code`` the entry's ``type``, as a number or as a value name
    of the kind's type enumeration ("DigitalInput", or "2"). Returns None for
    a code the schema pairs with no record (a code of no name included).
    Raises ValueError for a kind or a code name that is none of the schema's,
    naming the kinds or the codes, and TypeError for arguments of other types.
    """
    kind = _kind(kind, "settings_class")
    number = _code_number(kind, code, "settings_class")
    found = _TABLES[kind].get(number)
    if found is None:
        return None
    module, name = found
    return getattr(importlib.import_module("gcuschema." + module), name)
