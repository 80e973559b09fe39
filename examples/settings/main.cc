// Entries of a configuration document given their settings and read back
// with the companion library's helpers, which keep an entry's type code and
// the record in its `config` together.
#include <cstdio>
#include <iostream>
#include <string>

#include <gcuschema/all_records.h>
#include <gcuschema/document/error.h>
#include <gcuschema/document/settings.h>

namespace document = gcuschema::document;

namespace {

std::string Hex(const std::string& bytes) {
  std::string out;
  char byte[4];
  for (unsigned char c : bytes) {
    std::snprintf(byte, sizeof byte, out.empty() ? "%02x" : " %02x", c);
    out += byte;
  }
  return out;
}

template <typename Call>
bool Refused(Call call) {
  try {
    call();
  } catch (const document::Error& e) {
    std::cout << "refused: " << e.what() << "\n";
    return true;
  }
  return false;
}

}  // namespace

int main() {
  ConfigData config;

  // The type code follows the settings: DigitalInConfiguration is what
  // DigitalInput (2) holds.
  DigitalInConfiguration digital;
  digital.set_enablefilter(true);
  digital.set_delay(5);
  digital.set_mode(DigitalInConfiguration::Time);
  Input* input = config.add_inputs();
  input->set_id(1);
  document::SetSettings(*input, digital);
  std::cout << "input 1: type " << input->type() << " (" << Input_Type_Name(input->type()) << "), config "
            << Hex(input->config()) << "\n";

  PwmConfiguration pwm;
  pwm.set_frequency(200);
  Output* output = config.add_outputs();
  document::SetSettings(*output, pwm);
  std::cout << "output: type " << output->type() << " (" << Output_Type_Name(output->type()) << "), config "
            << Hex(output->config()) << "\n";

  // Every map type holds a Map3D: the map keeps the type it has.
  Map3D table;
  table.add_x(1);
  table.add_x(-1);
  Map* map = config.add_maps();
  map->set_type(Map::Interpolated3dMap);
  document::SetSettings(*map, table);
  std::cout << "map: type " << map->type() << " (" << Map_MapType_Name(map->type()) << "), config "
            << Hex(map->config()) << "\n";

  const DigitalInConfiguration back = document::SettingsOf<DigitalInConfiguration>(config.inputs(0));
  std::cout << "input 1 read back: delay " << back.delay() << ", mode "
            << DigitalInConfiguration_Mode_Name(back.mode()) << "\n";

  // Settings are read only as the record the entry's code holds.
  if (!Refused([&] { document::SettingsOf<AdcConfiguration>(config.inputs(0)); })) return 1;

  // Driver codes hold no record until a catalogue pairs one.
  Driver* driver = config.add_drivers();
  AdcConfiguration adc;
  adc.set_range(AdcConfiguration::range12V);
  if (!Refused([&] { document::SetSettings(*driver, adc); })) return 1;
  document::PairingCatalogue pairing = document::PairingCatalogue::Standard();
  pairing.Apply("driver:3=AdcConfiguration");
  document::SetSettings(*driver, adc, pairing);
  std::cout << "driver: type " << driver->type() << ", config " << Hex(driver->config()) << "\n";
  return 0;
}
