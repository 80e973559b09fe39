#include "support/nesting.h"

#include <cctype>
#include <string_view>

#include <gcuschema/Config.pb.h>
#include <gcuschema/DeviceData.pb.h>

namespace gcuschema::test {

std::string NestedConfig(const Nesting& nesting, int levels) {
  const std::string_view pairing = nesting.pairing;
  std::string inner;
  for (int level = 0; level < levels; ++level) {
    ConfigData config;
    if (pairing == kDriverHoldsConfig.pairing) {
      config.add_drivers()->set_config(inner);
    } else if (pairing == kInputHoldsDevice.pairing) {
      // Every second level is the DeviceData: its config is a ConfigData.
      DeviceData device;
      device.set_config(inner);
      config.add_inputs()->set_config(device.SerializeAsString());
      ++level;
    } else {
      config.add_inputs()->set_config(inner);
    }
    inner = config.SerializeAsString();
  }
  return inner;
}

std::string NestingName(const Nesting& nesting) {
  std::string name;
  for (const char* c = nesting.pairing; *c != '\0'; ++c) {
    if (std::isalnum(static_cast<unsigned char>(*c))) name += *c;
  }
  return name;
}

}  // namespace gcuschema::test
