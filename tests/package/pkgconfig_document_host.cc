// A one-file host of the companion library built with nothing but
// `pkg-config --cflags --libs gcuschema-document`.
#include <iostream>

#include <gcuschema/AdcConfiguration.pb.h>
#include <gcuschema/Config.pb.h>
#include <gcuschema/document/json.h>

int main() {
  AdcConfiguration adc;
  adc.set_range(AdcConfiguration::range12V);
  ConfigData document;
  document.add_inputs()->set_config(adc.SerializeAsString());
  gcuschema::document::JsonWriteOptions options;
  options.indent = 0;
  std::cout << gcuschema::document::JsonCodec().ToJson(document, options) << "\n";
  return 0;
}
