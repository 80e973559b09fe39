#include <CLI/CLI.hpp>

int main(int argc, char** argv) {
  CLI::App app{"gcuschema: decode, encode, inspect, lint and compare device documents"};
  app.require_subcommand(1);
  CLI11_PARSE(app, argc, argv);
  return 0;
}
