"""Records of the GCU, IOC and DCU transmission controllers.

Each schema file has its module (``gcuschema.Config_pb2`` holds ``ConfigData``,
``Input``, ...). The records declare no package, so their full names are the
bare record names, as in the C++ library. ``gcuschema.pairing`` tells which
settings record an entry's ``config`` bytes hold (``settings_class`` is here
too); ``gcuschema.document`` reads, writes, lints and compares whole documents
through the companion library.

The record classes need python3-protobuf (Debian's ``/usr/bin/python3`` has
it); ``gcuschema.document`` needs only the standard library, so the names
below are imported when first used.
"""

_PAIRING_NAMES = ("INPUT_SETTINGS", "OUTPUT_SETTINGS", "MAP_SETTINGS", "KINDS", "settings_class")


def __getattr__(name):
    if name not in _PAIRING_NAMES:
        raise AttributeError("module 'gcuschema' has no attribute %r" % name)
    try:
        from gcuschema import pairing
    except ModuleNotFoundError as e:
        if not (e.name or "").startswith("google"):
            raise
        import sys
        raise ImportError("gcuschema.%s needs the record classes, which need python3-protobuf; this interpreter (%s) "
                          "cannot import %s: run Debian's /usr/bin/python3 (apt install python3-protobuf)"
                          % (name, sys.executable, e.name)) from e
    return getattr(pairing, name)
