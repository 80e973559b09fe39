// A one-file host of the companion library built with nothing but
// `pkg-config --cflags --libs gcuschema-document`.
#include <iostream>

#include <gcuschema/AdcConfiguration.pb.h>
#include <gcuschema/Config.pb.h>
#include <gcuschema/document/io.h>

int main() {
  AdcConfiguration adc;
  adc.set_range(AdcConfiguration::range12V);
  ConfigData document;
  document.add_inputs()->set_config(adc.SerializeAsString());
  gcuschema::document::WriteOptions options;
  options.indent = 0;
  std::cout << gcuschema::document::WriteString(document, gcuschema::document::Format::kJson, options) << "\n";
  return 0;
}
