"""Decodes a document written by the C++ tool with the installed Python
package, decodes each entry's config by its type code, re-encodes, and checks
the bytes are the same. Run with Debian's interpreter:
    /usr/bin/python3 python_roundtrip.py TOOL SITE_DIR WORK_DIR
"""

import os
import subprocess
import sys


def main():
    tool, site, work = sys.argv[1:4]
    sys.path.insert(0, site)
    import gcuschema
    from gcuschema import Config_pb2, DeviceData_pb2

    os.makedirs(work, exist_ok=True)
    path = os.path.join(work, "sample.bin")
    subprocess.run([tool, "sample", "--inputs", "40", "--seed", "7", "-o", path], check=True)
    with open(path, "rb") as f:
        data = f.read()

    doc = Config_pb2.ConfigData()
    doc.ParseFromString(data)
    assert len(doc.inputs) == 40, len(doc.inputs)

    decoded = {"input": 0, "output": 0, "map": 0}
    for kind, entries in (("input", doc.inputs), ("output", doc.outputs), ("map", doc.maps)):
        for entry in entries:
            cls = gcuschema.settings_class(kind, entry.type)
            if cls is None or not entry.config:
                continue
            settings = cls()
            settings.ParseFromString(entry.config)
            again = settings.SerializeToString()
            assert again == entry.config, (kind, entry.id, cls.DESCRIPTOR.name)
            decoded[kind] += 1
    assert all(decoded.values()), "settings decoded by kind: %s" % decoded

    assert doc.SerializeToString() == data, "document bytes differ after re-encoding"

    image = DeviceData_pb2.DeviceData()
    image.config = data
    image.version = 1
    back = DeviceData_pb2.DeviceData()
    back.ParseFromString(image.SerializeToString())
    assert back.config == data
    print("decoded %d settings records; %d bytes re-encoded identically" % (sum(decoded.values()), len(data)))


if __name__ == "__main__":
    main()
