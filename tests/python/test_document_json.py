"""gcuschema.document.to_json and from_json: expanded and plain JSON, bytes
that the generated classes read and write, documents given as str."""

import base64
import json

import pytest
from google.protobuf import json_format

from gcuschema import document
from gcuschema.AdcConfiguration_pb2 import AdcConfiguration
from gcuschema.AdcSwitchInput_pb2 import AdcSwitchConfiguration
from gcuschema.CalibrationData_pb2 import CalibrationData
from gcuschema.Config_pb2 import ConfigData, Input, Map
from gcuschema.CurrentConfiguration_pb2 import CurrentConfiguration


def adc_document():
    """A ConfigData made with the generated classes: one input holding
    AdcConfiguration settings."""
    config = ConfigData(version=3)
    entry = config.inputs.add(id=1, alias="Oil temperature", type=Input.AdcInput)
    entry.config = AdcConfiguration(range=AdcConfiguration.range12V, inMaxValue=4095).SerializeToString()
    return config


def test_to_json_of_bytes_is_what_the_tool_decodes(sample, run_tool):
    assert document.to_json(sample, "ConfigData") + "\n" == run_tool("decode", "-", data=sample).decode("utf-8")


def test_to_json_expands_the_settings_of_a_record_the_classes_encoded():
    shown = json.loads(document.to_json(adc_document().SerializeToString(), "ConfigData"))
    assert shown == {
        "@type": "ConfigData",
        "version": 3,
        "inputs": [{"id": 1, "alias": "Oil temperature",
                    "config": {"@type": "AdcConfiguration", "range": "range12V", "inMaxValue": 4095}}],
    }


def test_to_json_without_expansion_is_plain_json_the_runtime_reads(sample):
    plain = document.to_json(sample, "ConfigData", expand=False)
    shown = json.loads(plain)
    assert "@type" not in shown
    assert shown["inputs"][0]["config"] == base64.b64encode(ConfigData.FromString(sample).inputs[0].config).decode()
    assert json_format.Parse(plain, ConfigData()).SerializeToString() == sample


def test_original_names_spell_fields_as_the_schema_does():
    config = ConfigData()
    config.outputs.add(type=3).config = CurrentConfiguration(__unused1=-2).SerializeToString()
    data = config.SerializeToString()
    assert json.loads(document.to_json(data, "ConfigData"))["outputs"][0]["config"]["Unused1"] == -2
    original = json.loads(document.to_json(data, "ConfigData", original_names=True))
    assert original["outputs"][0]["config"]["__unused1"] == -2


def test_indent_sets_the_spaces_per_level_and_zero_writes_one_line():
    data = adc_document().SerializeToString()
    assert document.to_json(data, "ConfigData", indent=0) == (
        '{"@type":"ConfigData","version":3,"inputs":[{"id":1,"alias":"Oil temperature",'
        '"config":{"@type":"AdcConfiguration","range":"range12V","inMaxValue":4095}}]}')
    assert document.to_json(data, "ConfigData", indent=4).splitlines()[1] == '    "@type": "ConfigData",'


def test_from_json_gives_the_bytes_the_classes_write_and_read(sample):
    made = adc_document()
    shown = document.to_json(made.SerializeToString(), "ConfigData")
    encoded = document.from_json(shown, "ConfigData")
    assert encoded == made.SerializeToString()
    assert ConfigData.FromString(encoded) == made
    assert document.from_json(document.to_json(sample, "ConfigData"), "ConfigData") == sample
    assert document.from_json(document.to_json(sample, "ConfigData", expand=False), "ConfigData") == sample


def test_from_json_reads_settings_given_as_records():
    encoded = document.from_json(
        '{"inputs": [{"type": "2", "config": {"@type": "DigitalInConfiguration", "delay": 5}}]}', "ConfigData")
    assert encoded == bytes([0x1a, 0x06, 0x18, 0x02, 0x32, 0x02, 0x10, 0x0a])
    entry = ConfigData.FromString(encoded).inputs[0]
    assert entry.type == Input.DigitalInput and entry.config == bytes([0x10, 0x0a])


def test_to_json_reads_json_and_text_format_given_as_str(sample):
    expected = document.to_json(sample, "ConfigData")
    assert document.to_json(document.to_text(sample, "ConfigData"), "ConfigData") == expected
    assert document.to_json(document.to_json(sample, "ConfigData", expand=False), "ConfigData") == expected
    assert document.to_json(bytearray(sample), "ConfigData") == expected
    assert document.to_json(memoryview(sample), "ConfigData") == expected


def test_an_empty_document_is_empty_bytes_and_empty_text():
    assert document.to_json(b"", "ConfigData") == '{\n  "@type": "ConfigData"\n}'
    assert document.to_json(b"", "ConfigData", expand=False) == "{}"
    assert document.to_json("", "ConfigData") == '{\n  "@type": "ConfigData"\n}'
    assert document.from_json("{}", "ConfigData") == b""
    assert ConfigData.FromString(document.from_json("{}", "ConfigData")) == ConfigData()


def test_other_records_are_read_and_written_by_name(run_tool):
    calibration = run_tool("sample", "--type", "CalibrationData")
    shown = document.to_json(calibration, "CalibrationData")
    assert json.loads(shown)["@type"] == "CalibrationData"
    assert document.from_json(shown, "CalibrationData") == calibration
    assert CalibrationData.FromString(calibration).SerializeToString() == calibration


def test_pairs_expand_settings_of_a_code_the_schema_leaves_open():
    config = ConfigData()
    config.inputs.add(type=Input.AnalogSwitchInput).config = AdcSwitchConfiguration(pullup=2).SerializeToString()
    data = config.SerializeToString()
    assert json.loads(document.to_json(data, "ConfigData"))["inputs"][0]["config"] == "EAI="
    paired = document.to_json(data, "ConfigData", pairs=["input:AnalogSwitchInput=AdcSwitchConfiguration"])
    assert json.loads(paired)["inputs"][0]["config"] == {"@type": "AdcSwitchConfiguration", "pullup": 2}
    assert document.from_json(paired, "ConfigData", pairs=["input:5=AdcSwitchConfiguration"]) == data


def test_map_table_names_the_record_every_map_holds():
    config = ConfigData()
    config.maps.add(type=Map.Point3dMap).config = AdcConfiguration(inMaxValue=7).SerializeToString()
    data = config.SerializeToString()
    shown = json.loads(document.to_json(data, "ConfigData", map_table="AdcConfiguration"))
    assert shown["maps"][0]["config"] == {"@type": "AdcConfiguration", "inMaxValue": 7}
    assert document.from_json(json.dumps(shown), "ConfigData", map_table="AdcConfiguration") == data
    removed = json.loads(document.to_json(data, "ConfigData", pairs=["map:0="]))
    assert isinstance(removed["maps"][0]["config"], str)
