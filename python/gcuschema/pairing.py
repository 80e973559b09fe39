"""Which settings record an input's or output's ``config`` bytes hold, by the
entry's ``type`` code. Codes not listed (for inputs FrequencyInput,
AnalogSwitchInput and CurrentSenseInput) carry a record the schema does not fix.
"""

import importlib

# type code -> (module, record name)
INPUT_SETTINGS = {
    0: ("AdcConfiguration_pb2", "AdcConfiguration"),
    2: ("DigitalInputConfiguration_pb2", "DigitalInConfiguration"),
    3: ("PhonicWheelConfiguration_pb2", "PhonicWheelConfiguration"),
    4: ("CanBusInputConfiguration_pb2", "CanbusInputConfiguration"),
    6: ("ConstantValueConfiguration_pb2", "ConstantValueInputConfiguration"),
    7: ("CompareInput_pb2", "CompareConfiguration"),
    8: ("DivideInputConfigData_pb2", "DivideInputConfigData"),
    10: ("DutyInConfiguration_pb2", "DutyInConfiguration"),
    11: ("MapInputConfigData_pb2", "MapInputConfigData"),
    12: ("AhrsInputConfig_pb2", "AhrsInputConfiguration"),
    13: ("RbcInputConfigData_pb2", "RbcInputConfigData"),
    14: ("CanObjectInput_pb2", "CanObjectInputData"),
    15: ("CounterInputConfiguration_pb2", "CounterInputConfiguration"),
    17: ("SystemInputConfigurationData_pb2", "SystemInputConfigurationData"),
    19: ("WaveformInputConfigData_pb2", "WaveformInputConfigData"),
    99: ("TestInputConfiguration_pb2", "TestInputConfiguration"),
}

OUTPUT_SETTINGS = {
    0: ("PwmConfiguration_pb2", "PwmConfiguration"),
    1: ("DacConfiguration_pb2", "DacConfiguration"),
    2: ("CanbusOutputConfiguration_pb2", "CanbusOutputConfiguration"),
    3: ("CurrentConfiguration_pb2", "CurrentConfiguration"),
    4: ("MapOutputConfigData_pb2", "MapOutputConfigData"),
    5: ("SplitterOutputConfig_pb2", "SplitterOutputConfigData"),
    6: ("PowerOutputConfigData_pb2", "PowerOutputConfigData"),
    7: ("CanObjectOutput_pb2", "CanObjectOutputData"),
    8: ("TachoOutputConfigData_pb2", "TachoOutputConfigData"),
    99: ("TestOutputConfiguration_pb2", "TestOutputConfiguration"),
}


def settings_class(kind, code):
    """The record class for an entry's config: kind is "input" or "output".
    Returns None for a code without a settings record."""
    table = {"input": INPUT_SETTINGS, "output": OUTPUT_SETTINGS}[kind]
    if code not in table:
        return None
    module, name = table[code]
    return getattr(importlib.import_module("gcuschema." + module), name)
