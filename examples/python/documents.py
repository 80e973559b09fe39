"""A configuration document from Python: made with the generated classes,
shown as JSON with its settings expanded, edited as JSON and encoded again,
linted and compared; the settings record of a type code; an error's place.
Run with the package on the path, e.g. from the repository:
    PYTHONPATH=build/python /usr/bin/python3 examples/python/documents.py
"""

import json

import gcuschema
from gcuschema import document
from gcuschema.AdcConfiguration_pb2 import AdcConfiguration
from gcuschema.Config_pb2 import ConfigData, Input

config = ConfigData(version=3)
entry = config.inputs.add(id=1, alias="Oil temperature", type=Input.AdcInput)
entry.config = AdcConfiguration(range=AdcConfiguration.range12V, faultMinValue=4095,
                                faultMaxValue=20).SerializeToString()
data = config.SerializeToString()
print(document.to_json(data, "ConfigData"))

for finding in document.lint(data, "ConfigData"):
    print(finding)

shown = json.loads(document.to_json(data, "ConfigData"))
settings = shown["inputs"][0]["config"]
settings["faultMinValue"], settings["faultMaxValue"] = 20, 4095
shown["inputs"][0]["alias"] = "Gearbox oil"
edited = document.from_json(json.dumps(shown), "ConfigData")
print("edited: %d bytes, alias %r, %d findings" % (len(edited), ConfigData.FromString(edited).inputs[0].alias,
                                                   len(document.lint(edited, "ConfigData"))))
for difference in document.diff(data, edited, "ConfigData"):
    print(difference)

print("input type DutyInput holds", document.settings_record("input", "DutyInput"))
print("input type DigitalInput holds", gcuschema.settings_class("input", "DigitalInput").__name__)

try:
    document.from_json('{\n  "inputs": [{"id": 1, "type": "AdcInput"}]\n}', "ConfigData")
except document.Error as error:
    print("refused at line %d, column %d, %s:" % (error.line, error.column, error.path))
    print(" ", error)
