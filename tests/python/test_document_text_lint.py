"""gcuschema.document.to_text, from_text and lint."""

import pytest

from gcuschema import document
from gcuschema.AdcConfiguration_pb2 import AdcConfiguration
from gcuschema.CalibrationData_pb2 import CalibrationData
from gcuschema.CalibrationDataLimits_pb2 import CalibrationTemplateData
from gcuschema.Config_pb2 import ConfigData, Input, Map, Output
from gcuschema.MapOutputConfigData_pb2 import MapOutputConfigData


def broken_document():
    """An input whose fault range is upside down and an output naming an
    output that is not there."""
    config = ConfigData()
    config.inputs.add(id=1, type=Input.AdcInput).config = AdcConfiguration(
        faultMinValue=5092, faultMaxValue=40).SerializeToString()
    config.outputs.add(id=1, type=Output.MapOutput).config = MapOutputConfigData(outputId=40).SerializeToString()
    return config.SerializeToString()


def test_to_text_is_what_the_tool_decodes_as_text(sample, run_tool):
    assert document.to_text(sample, "ConfigData") == run_tool("decode", "--format", "text", "-",
                                                                data=sample).decode("utf-8")


def test_from_text_gives_back_the_encoding(sample):
    assert document.from_text(document.to_text(sample, "ConfigData"), "ConfigData") == sample
    assert document.from_text('version: 3\ngcuNo: "GCU-1"\n', "ConfigData") == ConfigData(
        version=3, gcuNo="GCU-1").SerializeToString()
    assert document.from_text("", "ConfigData") == b""
    assert document.to_text(b"", "ConfigData") == ""


def test_to_text_reads_json_given_as_str(sample):
    assert document.to_text(document.to_json(sample, "ConfigData"), "ConfigData") == document.to_text(
        sample, "ConfigData")


def test_from_text_refuses_json_and_says_where():
    with pytest.raises(document.Error) as raised:
        document.from_text('{"version": 3}', "ConfigData")
    assert raised.value.line == 1 and raised.value.column == 1
    assert str(raised.value).startswith("line 1, column 1")


def test_lint_finds_what_the_tool_finds(run_tool):
    data = broken_document()
    findings = document.lint(data, "ConfigData")
    assert findings == [
        document.Finding("error", "inverted-range", "inputs[0].config.faultMinValue",
                         "faultMinValue 5092 is above faultMaxValue 40; a range runs from its lower end up to "
                         "its upper one: swap the two"),
        document.Finding("error", "dangling-reference", "outputs[0].config.outputId",
                         "outputId names output 40, but no output of the document has that id"),
    ]
    printed = run_tool("lint", "-", data=data, check=False)
    assert printed.returncode == 1
    assert [str(f) for f in findings] == printed.stdout.decode("utf-8").splitlines()[:-1]


def test_lint_of_a_sound_document_finds_nothing(sample):
    assert document.lint(sample, "ConfigData") == []
    assert document.lint(document.to_json(sample, "ConfigData"), "ConfigData") == []


def test_lint_messages_name_this_modules_arguments():
    config = ConfigData()
    config.maps.add(type=Map.Point3dMap).config = bytes([0x08])
    findings = document.lint(config.SerializeToString(), "ConfigData")
    assert [(f.severity, f.rule, f.path) for f in findings] == [("warning", "config-unreadable", "maps[0].config")]
    assert findings[0].message.endswith('(map_table="RECORD", or pairs=["map:0=RECORD"])')
    assert str(findings[0]).startswith("maps[0].config: warning: the 1 bytes do not parse as Map3D")


def calibration_pair():
    calibration = CalibrationData(adcCalibrationCount=2)
    calibration.adcCalibration.add(logicalId=1, level5v=100)
    calibration.adcCalibration.add(logicalId=2, level5v=4055)
    limits = CalibrationTemplateData(adcCalibrationCount=2)
    limits.adcCalibration.add(logicalId=2, levelMax5v=4042)
    limits.adcCalibration.add(logicalId=1, levelMax5v=4042)
    return calibration.SerializeToString(), limits.SerializeToString()


def test_lint_checks_a_calibration_against_its_template(tmp_path, run_tool):
    calibration, limits = calibration_pair()
    assert document.lint(calibration, "CalibrationData") == []
    findings = document.lint(calibration, "CalibrationData", template=limits)
    assert [(f.severity, f.rule, f.path) for f in findings] == [("error", "out-of-limits", "adcCalibration[1].level5v")]
    assert "levelMax5v 4042 of the template's adcCalibration[0] (logicalId 2)" in findings[0].message
    (tmp_path / "limits.bin").write_bytes(limits)
    printed = run_tool("lint", "--type", "CalibrationData", "--template", str(tmp_path / "limits.bin"), "-",
                       data=calibration, check=False)
    assert [str(f) for f in findings] == printed.stdout.decode("utf-8").splitlines()[:-1]
    as_json = document.to_json(limits, "CalibrationTemplateData")
    assert document.lint(calibration, "CalibrationData", template=as_json) == findings


def test_a_template_is_for_a_calibration_only():
    calibration, limits = calibration_pair()
    with pytest.raises(ValueError, match="lint: template: a limits template checks a CalibrationData, but record "
                                         "is 'ConfigData'; lint without template=, or give a CalibrationData"):
        document.lint(b"", "ConfigData", template=limits)


def test_an_unreadable_template_is_an_error_naming_the_template():
    calibration, _ = calibration_pair()
    with pytest.raises(document.Error) as raised:
        document.lint(calibration, "CalibrationData", template='{\n  "adcCalibration": 7\n}')
    assert str(raised.value).startswith("template: line 2, column 21 (adcCalibration): ")
    assert (raised.value.line, raised.value.column, raised.value.path) == (2, 21, "adcCalibration")
