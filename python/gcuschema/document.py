"""Documents of the schema library: JSON with each entry's settings expanded,
text format, lint, diff, JSON Schema and the settings record of a type code,
by the companion library's C interface (libgcuschema_document) through ctypes.

A document is given as ``bytes`` of its encoding (what ``SerializeToString``
of the generated classes gives, and ``FromString`` reads) or as a ``str`` of
JSON or text format, told apart by its content. Every function takes the
document's record by name ("ConfigData", "CalibrationData", ...).

Which record each entry's ``config`` holds is the schema's pairing, changed
by ``pairs`` ("input:AnalogSwitchInput=AdcSwitchConfiguration", "output:5="
to remove one) and ``map_table`` (one table record for every map type),
where a function takes them.

The library is looked for, first found first taken:

1. the file ``GCUSCHEMA_DOCUMENT_LIBRARY`` names (or the library in the
   directory it names), and nothing else when it is set;
2. the library of the install or build tree this package belongs to
   (``<prefix>/lib`` for an install, wherever the prefix was moved to);
3. ``libgcuschema_document.so.0`` by the dynamic loader's own search
   (``LD_LIBRARY_PATH``, then the system's library directories).

Only the standard library is needed here; the generated record classes need
python3-protobuf.
"""

import ctypes
import dataclasses
import os
import re

from gcuschema import _library_location

__all__ = [
    "Difference", "Error", "Finding", "diff", "from_json", "from_text", "json_schema", "library_path",
    "library_version", "lint", "record_names", "settings_record", "to_json", "to_text",
]

ENVIRONMENT_VARIABLE = "GCUSCHEMA_DOCUMENT_LIBRARY"


class Error(ValueError):
    """A document, record name or pairing the library refused.

    ``str(error)`` is one line: where, what was wrong and what to do. Apart:
    ``line`` and ``column`` (from 1, in the JSON or text given; None for a
    binary document or when the whole input is concerned), ``offset`` (byte
    of a binary document, None when none), ``path`` (the field path,
    "inputs[0].type"; "" when none) and ``status`` ("document", "record",
    "format", "pairing", "unsupported", "argument", "memory", "internal").
    """

    def __init__(self, message, *, status="document", line=None, column=None, offset=None, path=""):
        super().__init__(message)
        self.message = message
        self.status = status
        self.line = line
        self.column = column
        self.offset = offset
        self.path = path


@dataclasses.dataclass(frozen=True)
class Finding:
    """What lint found: ``severity`` "error" or "warning", ``rule``
    ("inverted-range", ...), ``path`` ("" for the whole document) and
    ``message`` (what is wrong and what to do)."""

    severity: str
    rule: str
    path: str
    message: str

    def __str__(self):
        return "%s: %s: %s [%s]" % (self.path or "(document)", self.severity, self.message, self.rule)


@dataclasses.dataclass(frozen=True)
class Difference:
    """A difference from the first document to the second: ``kind`` "added",
    "removed" or "modified", ``path`` ("inputs[0].config<AdcConfiguration>.range")
    and the values as text, ``old`` (None when added) and ``new`` (None when
    removed)."""

    path: str
    kind: str
    old: object
    new: object

    def __str__(self):
        if self.kind == "added":
            return "+ %s: %s" % (self.path, self.new)
        if self.kind == "removed":
            return "- %s: %s" % (self.path, self.old)
        return "~ %s: %s -> %s" % (self.path, self.old, self.new)


# The C interface's types (<gcuschema/document/c.h>).
_OK = 0
_STATUSES = {1: "argument", 2: "record", 3: "format", 4: "pairing", 5: "document", 6: "unsupported",
             7: "memory", 8: "internal"}
_DETECT, _BINARY, _TEXT, _JSON = 0, 1, 2, 3
_KINDS = {0: "added", 1: "removed", 2: "modified"}


class _Pairing(ctypes.Structure):
    _fields_ = [("pairs", ctypes.POINTER(ctypes.c_char_p)), ("pair_count", ctypes.c_size_t),
                ("map_table", ctypes.c_char_p)]


class _ReadOptions(ctypes.Structure):
    _fields_ = [("format", ctypes.c_int), ("pairing", ctypes.POINTER(_Pairing)),
                ("ignore_unknown_fields", ctypes.c_int)]


class _WriteOptions(ctypes.Structure):
    _fields_ = [("pairing", ctypes.POINTER(_Pairing)), ("expand", ctypes.c_int), ("original_names", ctypes.c_int),
                ("indent", ctypes.c_int), ("type_name", ctypes.c_int), ("unknown_fields", ctypes.c_int)]


class _Finding(ctypes.Structure):
    _fields_ = [("severity", ctypes.c_int), ("rule", ctypes.c_char_p), ("path", ctypes.c_char_p),
                ("message", ctypes.c_char_p)]


class _LintOptions(ctypes.Structure):
    _fields_ = [("pairing", ctypes.POINTER(_Pairing)), ("limits", ctypes.c_void_p)]


class _Difference(ctypes.Structure):
    _fields_ = [("kind", ctypes.c_int), ("path", ctypes.c_char_p), ("old_value", ctypes.c_char_p),
                ("new_value", ctypes.c_char_p)]


_P = ctypes.POINTER
_ERR = _P(ctypes.c_void_p)
_PROTOTYPES = {
    "gcuschema_version": (ctypes.c_char_p, []),
    "gcuschema_error_status": (ctypes.c_int, [ctypes.c_void_p]),
    "gcuschema_error_message": (ctypes.c_char_p, [ctypes.c_void_p]),
    "gcuschema_error_path": (ctypes.c_char_p, [ctypes.c_void_p]),
    "gcuschema_error_line": (ctypes.c_int64, [ctypes.c_void_p]),
    "gcuschema_error_column": (ctypes.c_int64, [ctypes.c_void_p]),
    "gcuschema_error_offset": (ctypes.c_int64, [ctypes.c_void_p]),
    "gcuschema_error_free": (None, [ctypes.c_void_p]),
    "gcuschema_record_names": (ctypes.c_int, [_P(_P(ctypes.c_char_p)), _P(ctypes.c_size_t), _ERR]),
    "gcuschema_read": (ctypes.c_int, [ctypes.c_char_p, ctypes.c_char_p, ctypes.c_size_t, _P(_ReadOptions),
                                      _P(ctypes.c_void_p), _ERR]),
    "gcuschema_document_format": (ctypes.c_int, [ctypes.c_void_p]),
    "gcuschema_document_free": (None, [ctypes.c_void_p]),
    "gcuschema_write_options_init": (None, [_P(_WriteOptions)]),
    "gcuschema_write": (ctypes.c_int, [ctypes.c_void_p, ctypes.c_int, _P(_WriteOptions), _P(ctypes.c_void_p),
                                       _P(ctypes.c_size_t), _ERR]),
    "gcuschema_buffer_free": (None, [ctypes.c_void_p]),
    "gcuschema_lint": (ctypes.c_int, [ctypes.c_void_p, _P(_LintOptions), _P(_P(_Finding)), _P(ctypes.c_size_t),
                                      _ERR]),
    "gcuschema_findings_free": (None, [_P(_Finding)]),
    "gcuschema_diff": (ctypes.c_int, [ctypes.c_void_p, ctypes.c_void_p, _P(_Pairing), _P(_P(_Difference)),
                                      _P(ctypes.c_size_t), _ERR]),
    "gcuschema_differences_free": (None, [_P(_Difference)]),
    "gcuschema_json_schema": (ctypes.c_int, [ctypes.c_char_p, _P(_Pairing), _P(ctypes.c_void_p),
                                             _P(ctypes.c_size_t), _ERR]),
    "gcuschema_settings_record": (ctypes.c_int, [ctypes.c_char_p, ctypes.c_int32, _P(_Pairing),
                                                 _P(ctypes.c_char_p), _ERR]),
    "gcuschema_settings_record_named": (ctypes.c_int, [ctypes.c_char_p, ctypes.c_char_p, _P(_Pairing),
                                                       _P(ctypes.c_char_p), _ERR]),
}


def _load():
    """The library, by the search order above, with its functions declared."""
    file_name = _library_location.LIBRARY_FILE
    given = os.environ.get(ENVIRONMENT_VARIABLE)
    if given:
        path = os.path.join(given, file_name) if os.path.isdir(given) else given
        try:
            return _declared(ctypes.CDLL(path), path), path
        except OSError as e:
            raise ImportError("gcuschema.document: %s names %s, which cannot be loaded (%s); point it at %s of an "
                              "install or build tree, or unset it to use the package's own"
                              % (ENVIRONMENT_VARIABLE, path, e, file_name)) from None
    here = os.path.dirname(os.path.abspath(__file__))
    beside = os.path.normpath(os.path.join(here, _library_location.LIBRARY_DIR, file_name))
    tried = []
    for path in (beside, file_name):
        if path is beside and not os.path.exists(path):
            tried.append("%s (not there)" % path)
            continue
        try:
            return _declared(ctypes.CDLL(path), path), path
        except OSError as e:
            tried.append("%s (%s)" % (path if path is beside else path + " by the dynamic loader", e))
    raise ImportError("gcuschema.document: cannot load the companion library; tried %s; set %s to the path of %s, "
                      "or add its directory (<prefix>/lib of an install) to LD_LIBRARY_PATH"
                      % ("; ".join(tried), ENVIRONMENT_VARIABLE, file_name))


def _declared(library, path):
    for name, (result, arguments) in _PROTOTYPES.items():
        try:
            function = getattr(library, name)
        except AttributeError:
            raise ImportError("gcuschema.document: %s has no function %s, so it is not a libgcuschema_document "
                              "this package can use (an older one, or another library); point %s at the one "
                              "of this package's install" % (path, name, ENVIRONMENT_VARIABLE)) from None
        function.restype = result
        function.argtypes = arguments
    return library


_library, library_path = _load()


def library_version():
    """The version of the library loaded ("MAJOR.MINOR.PATCH")."""
    return _library.gcuschema_version().decode("ascii")


# The library's messages name the C interface's arguments; here they name
# this module's.
_TRANSLATIONS = [
    (re.compile(r"\bpairing->pairs\["), "pairs["),
    (re.compile(r"\bpairing->map_table\b"), "map_table"),
    (re.compile(r' \(pairing: map_table, or pairs "([^"]*)"\)'), r' (map_table="RECORD", or pairs=["\1"])'),
    (re.compile(r' \(pairing: pairs "([^"]*)"\)'), r' (pairs=["\1"])'),
    (re.compile(r' \(record "([^"]*)"\)'), r' (record="\1")'),
    (re.compile(r"; gcuschema_record_names lists the records"), "; gcuschema.document.record_names() lists them"),
    (re.compile(r"; the JSON Schema of (\S+) \(gcuschema_json_schema\) lists them"),
     r'; gcuschema.document.json_schema("\1") lists them'),
]


def _translated(message, caller):
    message = re.sub(r"^gcuschema_[a-z_]+: ", caller + ": ", message)
    for pattern, replacement in _TRANSLATIONS:
        message = pattern.sub(replacement, message)
    return message


def _text(pointer):
    return pointer.decode("utf-8", errors="backslashreplace") if pointer is not None else ""


def _check(status, error, caller, prefix=""):
    """Raises the Error of a call that failed, its error object released; the
    message of what the input holds starts with `prefix`, naming the input
    when a call takes several (those about an argument name it already)."""
    if status == _OK:
        return
    try:
        message = _translated(_text(_library.gcuschema_error_message(error)), caller)
        line = _library.gcuschema_error_line(error)
        column = _library.gcuschema_error_column(error)
        offset = _library.gcuschema_error_offset(error)
        path = _text(_library.gcuschema_error_path(error))
    finally:
        _library.gcuschema_error_free(error)
    if message.startswith(caller + ": "):
        prefix = ""
    raise Error(prefix + message, status=_STATUSES.get(status, "internal"), line=line or None,
                column=column or None, offset=None if offset < 0 else offset, path=path)


def _name(value, what, caller):
    if not isinstance(value, str):
        raise TypeError("%s: %s: expected a record name as a str (\"ConfigData\"), got %s"
                        % (caller, what, type(value).__name__))
    return value.encode("utf-8")


def _pairing(pairs, map_table, caller):
    """The C pairing for `pairs` and `map_table`, or None for the schema's own."""
    if isinstance(pairs, (str, bytes)):
        raise TypeError("%s: pairs: expected a list of \"KIND:CODE=RECORD\" strings, got one %s; put it in a list"
                        % (caller, type(pairs).__name__))
    pairs = list(pairs)
    for i, pair in enumerate(pairs):
        if not isinstance(pair, str):
            raise TypeError("%s: pairs[%d]: expected a \"KIND:CODE=RECORD\" str, got %s"
                            % (caller, i, type(pair).__name__))
    if map_table is not None and not isinstance(map_table, str):
        raise TypeError("%s: map_table: expected a record name as a str (\"Map3D\") or None, got %s"
                        % (caller, type(map_table).__name__))
    if not pairs and map_table is None:
        return None
    encoded = (ctypes.c_char_p * max(len(pairs), 1))(*[pair.encode("utf-8") for pair in pairs])
    pairing = _Pairing(encoded, len(pairs), map_table.encode("utf-8") if map_table is not None else None)
    pairing.keep = encoded  # the strings live as long as the struct
    return pairing


def _utf8(text, label):
    """A str as UTF-8, or the Error of a character UTF-8 cannot carry, placed
    as the library places errors (CR, LF and CR LF end lines; columns count
    characters)."""
    try:
        return text.encode("utf-8")
    except UnicodeEncodeError as e:
        lines = re.split(r"\r\n|\r|\n", text[:e.start])
        line, column = len(lines), len(lines[-1]) + 1
        raise Error("%sline %d, column %d: a lone surrogate U+%04X, which UTF-8 cannot carry; give the character "
                    "meant (a JSON escape of a pair, \"\\ud83d\\ude00\", is one character)"
                    % (label, line, column, ord(text[e.start])), line=line, column=column) from None


class _Document:
    """A handle of the library, released when done with."""

    def __init__(self, data, record, what, caller, pairing, format=None, named=False):
        """`what` is the argument's name; `named`, when the call takes
        several documents, starts the messages of this one with it."""
        self.handle = ctypes.c_void_p()
        label = what + ": " if named else ""
        if isinstance(data, str):
            bytes_ = _utf8(data, label)
            # An empty text is the empty document, as to_text writes it.
            given = format if format is not None else (_TEXT if not bytes_ else _DETECT)
        elif isinstance(data, (bytes, bytearray, memoryview)):
            if format is not None:
                raise TypeError("%s: %s: expected a str, got %s; decode the bytes (%s.decode(\"utf-8\")), or give "
                                "an encoded document to to_json or to_text" % (caller, what, type(data).__name__, what))
            bytes_ = bytes(data)
            given = _BINARY
        else:
            raise TypeError("%s: %s: expected bytes of an encoded document, or a str of JSON or text format, got %s"
                            % (caller, what, type(data).__name__))
        options = _ReadOptions(given, ctypes.pointer(pairing) if pairing is not None else None, 0)
        error = ctypes.c_void_p()
        status = _library.gcuschema_read(_name(record, "record", caller), bytes_, len(bytes_),
                                         ctypes.byref(options), ctypes.byref(self.handle), ctypes.byref(error))
        _check(status, error, caller, label)
        if isinstance(data, str) and _library.gcuschema_document_format(self.handle) == _BINARY:
            self.close()
            raise Error("%s: %s: reads only as an encoded document, not as JSON or text format; give an encoded "
                        "document as bytes" % (caller, what), status="format")

    def close(self):
        if self.handle:
            _library.gcuschema_document_free(self.handle)
            self.handle = ctypes.c_void_p()

    def __enter__(self):
        return self

    def __exit__(self, *exception):
        self.close()


def _written(document, format, caller, pairing=None, expand=True, original_names=False, indent=2):
    options = _WriteOptions()
    _library.gcuschema_write_options_init(ctypes.byref(options))
    options.pairing = ctypes.pointer(pairing) if pairing is not None else None
    options.expand = int(expand)
    options.type_name = int(expand)  # as the tool writes it: expanded JSON names its record
    options.original_names = int(original_names)
    options.indent = indent
    data = ctypes.c_void_p()
    size = ctypes.c_size_t()
    error = ctypes.c_void_p()
    status = _library.gcuschema_write(document.handle, format, ctypes.byref(options), ctypes.byref(data),
                                      ctypes.byref(size), ctypes.byref(error))
    _check(status, error, caller)
    try:
        return ctypes.string_at(data, size.value)
    finally:
        _library.gcuschema_buffer_free(data)


def to_json(data, record, *, expand=True, original_names=False, indent=2, pairs=(), map_table=None):
    """The document as JSON: with ``expand`` each entry's ``config`` shown as
    the settings record it holds (where that loses nothing) and the record
    named in a leading "@type", as ``gcuschema decode`` writes it; without,
    plain proto3 JSON (every ``config`` in base64). ``original_names`` spells
    fields as the schema does; ``indent`` spaces per level, 0 for one line.
    No line break at the end."""
    if isinstance(indent, bool) or not isinstance(indent, int):
        raise TypeError("to_json: indent: expected an int, got %s" % type(indent).__name__)
    if indent < 0:
        raise ValueError("to_json: indent: is %d; give the spaces per level, or 0 for one line" % indent)
    pairing = _pairing(pairs, map_table, "to_json")
    with _Document(data, record, "data", "to_json", pairing) as document:
        return _written(document, _JSON, "to_json", pairing, bool(expand), bool(original_names),
                        indent).decode("utf-8")


def from_json(text, record, *, pairs=(), map_table=None):
    """The encoding of a JSON document (expanded or not), as the generated
    classes' ``FromString`` reads it."""
    pairing = _pairing(pairs, map_table, "from_json")
    with _Document(text, record, "text", "from_json", pairing, _JSON) as document:
        return _written(document, _BINARY, "from_json", pairing)


def to_text(data, record, *, pairs=(), map_table=None):
    """The document in protobuf text format (settings stay bytes)."""
    pairing = _pairing(pairs, map_table, "to_text")
    with _Document(data, record, "data", "to_text", pairing) as document:
        return _written(document, _TEXT, "to_text", pairing).decode("utf-8")


def from_text(text, record):
    """The encoding of a document in protobuf text format."""
    with _Document(text, record, "text", "from_text", None, _TEXT) as document:
        return _written(document, _BINARY, "from_text")


def lint(data, record, *, template=None, pairs=(), map_table=None):
    """What the records do not enforce (counts, type codes, unreadable
    settings, duplicate identifiers, dangling references, ranges upside
    down), as a list of Finding in document order. ``template``, a
    CalibrationTemplateData (bytes or str), checks a CalibrationData against
    its limits."""
    pairing = _pairing(pairs, map_table, "lint")
    if template is not None and record != "CalibrationData":
        raise ValueError("lint: template: a limits template checks a CalibrationData, but record is %r; lint "
                         "without template=, or give a CalibrationData" % (record,))
    with _Document(data, record, "data", "lint", pairing) as document:
        limits = None
        if template is not None:
            limits = _Document(template, "CalibrationTemplateData", "template", "lint", pairing, named=True)
        try:
            options = _LintOptions(ctypes.pointer(pairing) if pairing is not None else None,
                                   limits.handle if limits is not None else None)
            found = _P(_Finding)()
            count = ctypes.c_size_t()
            error = ctypes.c_void_p()
            status = _library.gcuschema_lint(document.handle, ctypes.byref(options), ctypes.byref(found),
                                             ctypes.byref(count), ctypes.byref(error))
        finally:
            if limits is not None:
                limits.close()
        _check(status, error, "lint")
    try:
        return [Finding("error" if f.severity == 1 else "warning", _text(f.rule), _text(f.path),
                        _translated(_text(f.message), "lint"))
                for f in found[:count.value]]
    finally:
        _library.gcuschema_findings_free(found)


def diff(a, b, record, *, pairs=(), map_table=None):
    """The differences from document ``a`` to ``b`` (each bytes or str), as a
    list of Difference, settings compared as the records they hold; empty
    when the two are equal."""
    pairing = _pairing(pairs, map_table, "diff")
    with _Document(a, record, "a", "diff", pairing, named=True) as first, \
            _Document(b, record, "b", "diff", pairing, named=True) as second:
        found = _P(_Difference)()
        count = ctypes.c_size_t()
        error = ctypes.c_void_p()
        status = _library.gcuschema_diff(first.handle, second.handle,
                                         ctypes.pointer(pairing) if pairing is not None else None,
                                         ctypes.byref(found), ctypes.byref(count), ctypes.byref(error))
        _check(status, error, "diff")
    try:
        differences = []
        for d in found[:count.value]:
            kind = _KINDS.get(d.kind, "modified")
            differences.append(Difference(_text(d.path), kind, None if kind == "added" else _text(d.old_value),
                                          None if kind == "removed" else _text(d.new_value)))
        return differences
    finally:
        _library.gcuschema_differences_free(found)


def json_schema(record=None, *, pairs=(), map_table=None):
    """A JSON Schema (draft 2020-12) of the record's JSON, settings expanded;
    with no record, of a document of any record, named by its "@type"."""
    pairing = _pairing(pairs, map_table, "json_schema")
    name = _name(record, "record", "json_schema") if record is not None else None
    text = ctypes.c_void_p()
    size = ctypes.c_size_t()
    error = ctypes.c_void_p()
    status = _library.gcuschema_json_schema(name, ctypes.pointer(pairing) if pairing is not None else None,
                                            ctypes.byref(text), ctypes.byref(size), ctypes.byref(error))
    _check(status, error, "json_schema")
    try:
        return ctypes.string_at(text, size.value).decode("utf-8")
    finally:
        _library.gcuschema_buffer_free(text)


def settings_record(kind, code_or_name, *, pairs=(), map_table=None):
    """The name of the settings record an entry's ``config`` holds, for its
    kind ("input", "output", "map", "driver", "handler") and type code (an
    int, or a value name such as "DutyInput"); None when the pairing leaves
    the code open."""
    if not isinstance(kind, str):
        raise TypeError("settings_record: kind: expected \"input\", \"output\", \"map\", \"driver\" or \"handler\", "
                        "got %s" % type(kind).__name__)
    pairing = _pairing(pairs, map_table, "settings_record")
    pairing_pointer = ctypes.pointer(pairing) if pairing is not None else None
    record = ctypes.c_char_p()
    error = ctypes.c_void_p()
    if isinstance(code_or_name, str):
        status = _library.gcuschema_settings_record_named(kind.encode("utf-8"), code_or_name.encode("utf-8"),
                                                          pairing_pointer, ctypes.byref(record), ctypes.byref(error))
    elif isinstance(code_or_name, int) and not isinstance(code_or_name, bool):
        low, high = (0, 2**32 - 1) if kind == "driver" else (-(2**31), 2**31 - 1)
        if not low <= code_or_name <= high:
            raise ValueError("settings_record: code: %s type code %d does not fit the entry's type field (%d to %d); "
                             "give a code in that range" % (kind, code_or_name, low, high))
        # A driver's uint32 code travels as the same 32 bits.
        signed = code_or_name - 2**32 if code_or_name >= 2**31 else code_or_name
        status = _library.gcuschema_settings_record(kind.encode("utf-8"), signed, pairing_pointer,
                                                    ctypes.byref(record), ctypes.byref(error))
    else:
        raise TypeError("settings_record: code: expected a type code as an int or a value name as a str, got %s"
                        % type(code_or_name).__name__)
    _check(status, error, "settings_record")
    return record.value.decode("utf-8") if record.value is not None else None


def record_names():
    """Every record of the library by full name, sorted."""
    names = _P(ctypes.c_char_p)()
    count = ctypes.c_size_t()
    error = ctypes.c_void_p()
    _check(_library.gcuschema_record_names(ctypes.byref(names), ctypes.byref(count), ctypes.byref(error)),
           error, "record_names")
    return [names[i].decode("utf-8") for i in range(count.value)]
