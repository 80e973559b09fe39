// A one-file host built with nothing but `pkg-config --cflags --libs gcuschema`.
#include <iostream>

#include <gcuschema/Config.pb.h>
#include <gcuschema/MapConfig.pb.h>

int main() {
  Map3D table;
  table.add_x(1);
  table.add_x(-1);
  Input input;
  input.set_type(Input::AdcInput);
  input.mutable_linearization()->set_config(table.SerializeAsString());
  Input back;
  if (!back.ParseFromString(input.SerializeAsString())) return 1;
  Map3D read;
  if (!read.ParseFromString(back.linearization().config()) || read.x_size() != 2) return 1;
  std::cout << "linearization x: " << read.x(0) << " " << read.x(1) << "\n";
  return 0;
}
