// Builds a configuration document with one analog input, encodes it, reads it
// back and decodes the input's settings by its type code.
#include <cstdlib>
#include <iostream>
#include <string>

#include <gcuschema/AdcConfiguration.pb.h>
#include <gcuschema/Config.pb.h>

int main() {
  AdcConfiguration adc;
  adc.set_range(AdcConfiguration::range12V);
  adc.set_inminvalue(-1);
  adc.set_outmaxvalue(100);
  adc.set_lowpassfilter(true);

  ConfigData document;
  document.set_version(3);
  document.set_gcuno("G1");
  Input* input = document.add_inputs();
  input->set_id(1);
  input->set_type(Input::AdcInput);
  input->set_alias("Oil temperature");
  input->set_unit("degC");
  input->set_config(adc.SerializeAsString());

  std::string bytes;
  if (!document.SerializeToString(&bytes)) {
    std::cerr << "encoding the document failed\n";
    return EXIT_FAILURE;
  }

  ConfigData read_back;
  if (!read_back.ParseFromString(bytes)) {
    std::cerr << "the encoded document does not parse\n";
    return EXIT_FAILURE;
  }
  std::cout << "document: " << bytes.size() << " bytes, version " << read_back.version()
            << ", unit " << read_back.gcuno() << ", " << read_back.inputs_size()
            << " input(s)\n";
  for (const Input& in : read_back.inputs()) {
    std::cout << "input " << in.id() << " \"" << in.alias() << "\" type " << in.type();
    if (in.type() != Input::AdcInput) {
      std::cout << " (no decoder in this example)\n";
      continue;
    }
    AdcConfiguration settings;
    if (!settings.ParseFromString(in.config())) {
      std::cerr << "\ninput " << in.id() << ": config does not parse as AdcConfiguration\n";
      return EXIT_FAILURE;
    }
    std::cout << " AdcConfiguration {" << settings.ShortDebugString() << "}\n";
  }
  return EXIT_SUCCESS;
}
