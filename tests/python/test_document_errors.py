"""gcuschema.document.Error: what was wrong, where (line, column, byte,
field path, in the text and apart) and what to do, in this module's terms."""

import re

import pytest

from gcuschema import document
from gcuschema.Config_pb2 import ConfigData


def error_of(call, *args, **kwargs):
    with pytest.raises(document.Error) as raised:
        call(*args, **kwargs)
    return raised.value


def test_a_json_error_gives_line_column_and_field_path():
    error = error_of(document.from_json, '{\n  "inputs": [\n    {"id": 1, "type": "AdcInput"}\n  ]\n}', "ConfigData")
    assert str(error) == ('line 3, column 23 (inputs[0].type): "AdcInput" is the name of type code 0, but the document '
                          'is plain proto3 JSON (it carries no "@type"), which gives type codes as numbers: write 0, '
                          'or make it expanded JSON by giving it "@type": "ConfigData" as its first member')
    assert (error.line, error.column, error.path, error.offset, error.status) == (3, 23, "inputs[0].type", None,
                                                                                  "document")
    assert isinstance(error, ValueError)


def test_columns_count_characters_and_any_line_break_ends_a_line():
    error = error_of(document.to_json, '{"alias": "\u00e9\u00e9",\r\n"x": 1}', "ConfigData")
    assert (error.line, error.column) == (1, 2)
    error = error_of(document.to_json, '{"deviceDescription": "\u00e9\u00e9",\r\n  "x": 1}', "ConfigData")
    assert (error.line, error.column) == (2, 3)
    assert str(error).startswith('line 2, column 3 (x): "x" is not a field of ConfigData')


def test_a_binary_error_gives_the_byte_and_field_path():
    data = ConfigData(gcuNo="GCU-1").SerializeToString()[:-2]
    error = error_of(document.to_json, data, "ConfigData")
    assert (error.offset, error.path, error.line, error.column) == (1, "gcuNo", None, None)
    assert str(error).startswith("byte 1 (gcuNo): declared length 5 runs past the end of the data")


def test_a_text_format_error_gives_line_and_column():
    error = error_of(document.from_text, 'version: 3\ngcuNo: 7\n', "ConfigData")
    assert (error.line, error.column) == (2, 8)
    assert str(error).startswith("line 2, column 8: ")


def test_a_misspelt_record_gets_the_closest_name():
    error = error_of(document.to_json, b"", "ConfgData")
    assert str(error) == ('to_json: record: "ConfgData" is not a record of the schema library; '
                          'did you mean "ConfigData"?')
    assert error.status == "record"
    error = error_of(document.json_schema, "Xyzzy")
    assert str(error) == ('json_schema: record: "Xyzzy" is not a record of the schema library; '
                          "gcuschema.document.record_names() lists them")


def test_a_document_naming_another_record_says_which_to_read_it_as():
    error = error_of(document.from_json, '{"@type": "CalibrationData"}', "ConfigData")
    assert str(error) == ('line 1, column 11 (@type): the document names itself a CalibrationData, but is read as a '
                          'ConfigData; correct its "@type", or read it as the record it names '
                          '(record="CalibrationData")')
    assert error.status == "record"


def test_settings_another_code_holds_name_that_code():
    error = error_of(document.from_json, '{"inputs": [{"type": 2, "config": {"@type": "AdcConfiguration"}}]}',
                     "ConfigData")
    assert str(error).endswith('AdcConfiguration is what type 0 (AdcInput) holds: set type to 0 if the settings are '
                               'right, or give settings of DigitalInConfiguration if the type is')
    assert "pairs=" not in str(error)
    assert error.path == "inputs[0].config"


def test_settings_no_code_holds_say_how_to_pair_them():
    error = error_of(document.from_json,
                     '{"inputs": [{"type": 2, "config": {"@type": "AdcSwitchConfiguration"}}]}', "ConfigData")
    assert str(error).endswith('(pairs=["input:2=AdcSwitchConfiguration"])')
    assert error.path == "inputs[0].config"


def test_a_wrong_pairing_names_the_pair():
    error = error_of(document.to_json, b"", "ConfigData", pairs=["input:5=AdcConfig"])
    assert str(error).startswith('to_json: pairs[0] "input:5=AdcConfig": "AdcConfig" is not a record of the schema '
                                 'library; did you mean "AdcConfiguration"')
    assert error.status == "pairing"
    error = error_of(document.lint, b"", "ConfigData", map_table="Map4D")
    assert str(error).startswith('lint: map_table: "Map4D" is not a record of the schema library')


def test_a_name_far_from_any_code_points_at_the_json_schema():
    error = error_of(document.settings_record, "input", "Zzzzzzzzzz")
    assert str(error).endswith('; gcuschema.document.json_schema("Input") lists them')


def test_a_lone_surrogate_is_placed_as_the_library_places_errors():
    error = error_of(document.to_json, '{\r\n  "gcuNo": "\u00e9\ud800"\r\n}', "ConfigData")
    assert (error.line, error.column) == (2, 14)
    assert str(error).startswith("line 2, column 14: a lone surrogate U+D800, which UTF-8 cannot carry")
    error = error_of(document.diff, b"", "\ud83d", "ConfigData")
    assert str(error).startswith("b: line 1, column 1: a lone surrogate U+D83D")


def test_a_str_that_reads_only_as_an_encoding_is_refused():
    error = error_of(document.to_json, "\x08\x03", "ConfigData")
    assert str(error) == ("to_json: data: reads only as an encoded document, not as JSON or text format; give an "
                          "encoded document as bytes")
    assert error.status == "format"
    assert document.to_json(b"\x08\x03", "ConfigData") == '{\n  "@type": "ConfigData",\n  "version": 3\n}'


def test_messages_never_name_the_c_interface():
    messages = []
    for call, args, kwargs in [
        (document.to_json, (b"", "ConfgData"), {}),
        (document.to_json, (b"", "Xyzzy"), {}),
        (document.to_json, ('{"@type": "CalibrationData"}', "ConfigData"), {}),
        (document.from_json, ('{"inputs": [{"type": 2, "config": {"@type": "AdcConfiguration"}}]}', "ConfigData"), {}),
        (document.to_json, (b"", "ConfigData"), {"pairs": ["input:5=AdcConfig"]}),
        (document.to_json, (b"", "ConfigData"), {"pairs": ["input"]}),
        (document.to_text, (b"", "ConfigData"), {"map_table": "Xyzzy"}),
        (document.settings_record, ("input", "Zzzzzzzzzz"), {}),
        (document.settings_record, ("inputs", 1), {}),
        (document.json_schema, ("Xyzzy",), {}),
        (document.diff, (b"", b"\x1a", "ConfigData"), {}),
        (document.from_text, ("{", "ConfigData"), {}),
    ]:
        messages.append(str(error_of(call, *args, **kwargs)))
    config = ConfigData()
    config.maps.add().config = b"\x08"
    config.inputs.add(type=2).config = b"\xff"
    messages += [f.message for f in document.lint(config.SerializeToString(), "ConfigData")]
    for message in messages:
        assert not re.search(r"gcuschema_[a-z]|GCUSCHEMA_|->|options\.|pairing:", message), message


def test_arguments_of_the_wrong_type_are_type_errors():
    with pytest.raises(TypeError, match="to_json: data: expected bytes of an encoded document, or a str of JSON or "
                                        "text format, got int"):
        document.to_json(7, "ConfigData")
    with pytest.raises(TypeError, match=r'from_json: text: expected a str, got bytes; decode the bytes \(text\.decode'):
        document.from_json(b"{}", "ConfigData")
    with pytest.raises(TypeError, match="to_text: record: expected a record name as a str"):
        document.to_text(b"", ConfigData)
    with pytest.raises(TypeError, match=r"lint: pairs: expected a list of \"KIND:CODE=RECORD\" strings, got one str"):
        document.lint(b"", "ConfigData", pairs="input:5=AdcConfiguration")
    with pytest.raises(TypeError, match="diff: map_table: expected a record name as a str"):
        document.diff(b"", b"", "ConfigData", map_table=3)
    with pytest.raises(TypeError, match="to_json: indent: expected an int, got NoneType"):
        document.to_json(b"", "ConfigData", indent=None)
    with pytest.raises(ValueError, match=r"to_json: indent: is -1; give the spaces per level, or 0 for one line"):
        document.to_json(b"", "ConfigData", indent=-1)
