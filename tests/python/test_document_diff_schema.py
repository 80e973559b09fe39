"""gcuschema.document.diff, json_schema, settings_record and record_names."""

import json

import pytest

from gcuschema import document
from gcuschema.AdcConfiguration_pb2 import AdcConfiguration
from gcuschema.Config_pb2 import ConfigData, Input


def two_documents():
    old = ConfigData(version=3)
    old.inputs.add(id=1, alias="Oil temperature", type=Input.AdcInput).config = AdcConfiguration(
        range=AdcConfiguration.range12V).SerializeToString()
    old.inputs.add(id=2, alias="Spare")
    new = ConfigData()
    new.CopyFrom(old)
    new.inputs[0].alias = "Gearbox oil"
    new.inputs[0].config = AdcConfiguration(range=AdcConfiguration.range5V).SerializeToString()
    del new.inputs[1]
    new.maps.add(id=4)
    return old.SerializeToString(), new.SerializeToString()


def test_diff_lists_what_changed_as_the_tool_does(tmp_path, run_tool):
    old, new = two_documents()
    differences = document.diff(old, new, "ConfigData")
    assert differences == [
        document.Difference('inputs[id=1 "Gearbox oil"].alias', "modified", '"Oil temperature"', '"Gearbox oil"'),
        document.Difference('inputs[id=1 "Gearbox oil"].config<AdcConfiguration>.range', "modified", "range12V",
                            "range5V"),
        document.Difference('inputs[id=2 "Spare"]', "removed", '{ id: 2 alias: "Spare" }', None),
        document.Difference("maps[id=4]", "added", None, "{ id: 4 }"),
    ]
    (tmp_path / "old.bin").write_bytes(old)
    printed = run_tool("diff", str(tmp_path / "old.bin"), "-", data=new, check=False)
    assert printed.returncode == 1
    assert "".join(str(d) + "\n" for d in differences) == printed.stdout.decode("utf-8")


def test_diff_of_equal_documents_is_empty_whatever_their_format(sample):
    assert document.diff(sample, sample, "ConfigData") == []
    assert document.diff(sample, document.to_json(sample, "ConfigData"), "ConfigData") == []
    assert document.diff(document.to_text(sample, "ConfigData"), sample, "ConfigData") == []


def test_diff_names_the_document_an_error_is_in():
    old, _ = two_documents()
    with pytest.raises(document.Error) as raised:
        document.diff(old, '{\n  "version": -1\n}', "ConfigData")
    assert str(raised.value).startswith("b: line 2, column 14 (version): ")
    assert (raised.value.line, raised.value.column, raised.value.path) == (2, 14, "version")
    with pytest.raises(document.Error) as raised:
        document.diff(bytes([0x1a, 0x09]), old, "ConfigData")
    assert str(raised.value).startswith("a: byte 1 (inputs[0]): declared length 9 runs past the end of the data")
    assert (raised.value.offset, raised.value.path, raised.value.line) == (1, "inputs[0]", None)


def test_json_schema_is_the_tools(run_tool):
    schema = document.json_schema("ConfigData")
    assert schema + "\n" == run_tool("schemas", "--json-schema").decode("utf-8")
    assert json.loads(document.json_schema())["properties"]["@type"]["enum"] == document.record_names()
    assert json.loads(document.json_schema("CalibrationData"))["title"] != json.loads(schema)["title"]


def test_json_schema_follows_the_pairing():
    jsonschema = pytest.importorskip("jsonschema", reason="python3-jsonschema is missing: run scripts/install-deps.sh")
    # Type 5 holds no record the schema names, so any settings do; paired,
    # only those of the record paired.
    plain = jsonschema.Draft202012Validator(json.loads(document.json_schema("ConfigData")))
    schema = document.json_schema("ConfigData", pairs=["input:AnalogSwitchInput=AdcSwitchConfiguration"])
    paired = jsonschema.Draft202012Validator(json.loads(schema))
    adc = {"inputs": [{"type": 5, "config": {"@type": "AdcConfiguration", "inMaxValue": 2}}]}
    switch = {"inputs": [{"type": 5, "config": {"@type": "AdcSwitchConfiguration", "pullup": 2}}]}
    assert plain.is_valid(adc) and plain.is_valid(switch)
    assert not paired.is_valid(adc) and paired.is_valid(switch)


def test_settings_record_by_code_and_by_name():
    assert document.settings_record("input", "DutyInput") == "DutyInConfiguration"
    assert document.settings_record("input", 10) == "DutyInConfiguration"
    assert document.settings_record("output", "5") == "SplitterOutputConfigData"
    assert document.settings_record("map", "NearestNeighbour3dMap") == "Map3D"
    assert document.settings_record("input", 1) is None
    assert document.settings_record("driver", 3) is None


def test_settings_record_follows_the_pairing():
    assert document.settings_record("driver", 3, pairs=["driver:3=AdcConfiguration"]) == "AdcConfiguration"
    # A driver's code is a uint32, which the library holds as the same 32 bits.
    assert document.settings_record("driver", 2**32 - 1, pairs=["driver:-1=AdcConfiguration"]) == "AdcConfiguration"
    assert document.settings_record("input", "DutyInput", pairs=["input:DutyInput="]) is None
    assert document.settings_record("map", 2, map_table="AdcConfiguration") == "AdcConfiguration"


def test_settings_record_refuses_a_wrong_kind_or_code():
    with pytest.raises(document.Error) as raised:
        document.settings_record("inputs", 1)
    assert str(raised.value).startswith('settings_record: kind: "inputs" is not an entry kind; did you mean "input"?')
    assert raised.value.status == "pairing"
    with pytest.raises(document.Error, match=r'settings_record: code: "DutyInptu" is not a number or a value of '
                                             r'Input\.Type; did you mean "DutyInput"\?'):
        document.settings_record("input", "DutyInptu")
    with pytest.raises(ValueError, match="input type code 2147483648 does not fit the entry's type field"):
        document.settings_record("input", 2**31)
    with pytest.raises(TypeError, match="code: expected a type code as an int or a value name as a str, got float"):
        document.settings_record("input", 1.0)
    with pytest.raises(TypeError, match="kind: expected"):
        document.settings_record(None, 1)


def test_record_names_are_the_librarys_records():
    names = document.record_names()
    assert names == sorted(names)
    for name in ("ConfigData", "DeviceData", "CalibrationData", "CalibrationTemplateData", "Map3D",
                 "CalibrationData.AdcCalibrationData"):
        assert name in names
