"""gcuschema.settings_class: the record class of an entry's config, by kind
and type code given as a number or a name, for every kind the pairing has."""

import pytest

import gcuschema
import gcuschema.document
from gcuschema import Config_pb2


def test_a_code_is_taken_by_number_by_name_and_by_number_in_a_string():
    by_name = gcuschema.settings_class("input", "DigitalInput")
    assert by_name is not None
    assert by_name.DESCRIPTOR.full_name == "DigitalInConfiguration"
    assert gcuschema.settings_class("input", 2) is by_name
    assert gcuschema.settings_class("input", "2") is by_name
    assert gcuschema.settings_class("output", "MapOutput").DESCRIPTOR.full_name == "MapOutputConfigData"


def test_every_map_type_holds_the_table_of_its_dimension():
    for name, number in Config_pb2.Map.MapType.items():
        assert gcuschema.settings_class("map", number).DESCRIPTOR.full_name == "Map3D", name
        assert gcuschema.settings_class("map", name).DESCRIPTOR.full_name == "Map3D", name
    assert gcuschema.MAP_SETTINGS[1] == ("MapConfig_pb2", "Map3D")


def test_drivers_and_handlers_hold_no_record_the_schema_names():
    assert gcuschema.settings_class("driver", 3) is None
    assert gcuschema.settings_class("driver", 2**32 - 1) is None
    assert gcuschema.settings_class("handler", 0) is None
    assert gcuschema.settings_class("handler", "-4") is None


def test_codes_the_schema_leaves_open_give_none():
    assert gcuschema.settings_class("input", "FrequencyInput") is None
    assert gcuschema.settings_class("input", 5) is None
    assert gcuschema.settings_class("input", 1000) is None
    assert gcuschema.settings_class("map", 7) is None


def test_a_wrong_kind_is_a_value_error_naming_the_kinds():
    with pytest.raises(ValueError) as raised:
        gcuschema.settings_class("maps", 1)
    message = str(raised.value)
    assert "'maps' is not an entry kind" in message
    assert "did you mean 'map'?" in message
    assert "the kinds are: input, output, map, driver, handler" in message


def test_a_wrong_code_name_is_a_value_error_naming_the_codes():
    with pytest.raises(ValueError) as raised:
        gcuschema.settings_class("input", "DigitalInptu")
    message = str(raised.value)
    assert "'DigitalInptu' is not a number or a value of Input.Type" in message
    assert "did you mean 'DigitalInput'" in message
    for code in ("AdcInput (0)", "FrequencyInput (1)", "DigitalInput (2)", "TestInput (99)"):
        assert code in message
    with pytest.raises(ValueError, match=r"the output codes are: PwmOutput \(0\), DacOutput \(1\)"):
        gcuschema.settings_class("output", "AdcInput")
    with pytest.raises(ValueError, match=r"the map codes are: Point3dMap \(0\), Interpolated3dMap \(1\)"):
        gcuschema.settings_class("map", "Map3D")


def test_driver_and_handler_codes_are_numbers_only():
    with pytest.raises(ValueError, match="driver type codes are plain numbers"):
        gcuschema.settings_class("driver", "PwmDriver")
    with pytest.raises(ValueError, match="handler type codes are plain numbers"):
        gcuschema.settings_class("handler", "x")


def test_a_code_beyond_the_type_field_is_a_value_error():
    with pytest.raises(ValueError, match=r"input type code 2147483648 does not fit the entry's type field"):
        gcuschema.settings_class("input", 2**31)
    with pytest.raises(ValueError,
                       match=r"driver type code -1 does not fit the entry's type field \(0 to 4294967295\)"):
        gcuschema.settings_class("driver", -1)


def test_arguments_of_other_types_are_type_errors():
    with pytest.raises(TypeError, match="kind: expected one of input, output, map, driver, handler as a str, got int"):
        gcuschema.settings_class(1, 1)
    for code in (1.0, None, True, b"AdcInput"):
        with pytest.raises(TypeError, match="code: expected a type code as an int or a value name as a str"):
            gcuschema.settings_class("input", code)


def test_settings_class_agrees_with_the_library_for_every_code():
    checked = 0
    for kind, names in (("input", Config_pb2.Input.Type), ("output", Config_pb2.Output.Type),
                        ("map", Config_pb2.Map.MapType)):
        for name, number in names.items():
            cls = gcuschema.settings_class(kind, number)
            held = gcuschema.document.settings_record(kind, number)
            assert (cls.DESCRIPTOR.full_name if cls else None) == held, (kind, name)
            checked += 1
    for kind in ("driver", "handler"):
        for number in (0, 1, 3, 99):
            assert gcuschema.settings_class(kind, number) is None
            assert gcuschema.document.settings_record(kind, number) is None
            checked += 1
    assert checked > 30


def test_the_tables_keep_their_names_and_decode_a_document(sample):
    assert gcuschema.INPUT_SETTINGS[0] == ("AdcConfiguration_pb2", "AdcConfiguration")
    assert gcuschema.OUTPUT_SETTINGS[0] == ("PwmConfiguration_pb2", "PwmConfiguration")
    document = Config_pb2.ConfigData.FromString(sample)
    decoded = 0
    for kind, entries in (("input", document.inputs), ("output", document.outputs), ("map", document.maps)):
        for entry in entries:
            cls = gcuschema.settings_class(kind, entry.type)
            if cls is not None:
                assert cls.FromString(entry.config).SerializeToString() == entry.config
                decoded += 1
    # Every entry of the sample has a code the schema pairs.
    assert decoded == len(document.inputs) + len(document.outputs) + len(document.maps)
