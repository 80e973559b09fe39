"""Records of the GCU, IOC and DCU transmission controllers.

Each schema file has its module (``gcuschema.Config_pb2`` holds ``ConfigData``,
``Input``, ...). The records declare no package, so their full names are the
bare record names, as in the C++ library. ``gcuschema.pairing`` tells which
settings record an entry's ``config`` bytes hold.
"""

from gcuschema.pairing import INPUT_SETTINGS, KINDS, MAP_SETTINGS, OUTPUT_SETTINGS, settings_class  # noqa: F401
