// The least work a JSON-to-binary encoder of a document can do, measured in
// one process: simdjson's on-demand walk of the JSON (every value visited,
// every key and string unescaped, every number parsed) and the runtime's
// parse of the same document's binary encoding into records on an arena
// (what building the records costs at the least). Each is the median of
// --runs runs, files read beforehand. Prints one JSON object.
// Usage: gcuschema_json_floor [--runs N] DOCUMENT.bin DOCUMENT.json...
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <google/protobuf/arena.h>
#include <simdjson.h>

#include <gcuschema/Config.pb.h>

namespace {

namespace od = simdjson::ondemand;
using Clock = std::chrono::steady_clock;

// What the walk saw, summed so that none of it can be left out.
struct Tally {
  std::uint64_t values = 0;
  std::uint64_t text_bytes = 0;
  double numbers = 0;
};

void Walk(od::value value, Tally* tally) {
  ++tally->values;
  switch (value.type()) {
    case od::json_type::object:
      for (od::field field : value.get_object()) {
        tally->text_bytes += std::string_view(field.unescaped_key()).size();
        Walk(field.value(), tally);
      }
      break;
    case od::json_type::array:
      for (od::value element : value.get_array()) Walk(element, tally);
      break;
    case od::json_type::number: {
      od::number number = value.get_number();
      switch (number.get_number_type()) {
        case od::number_type::signed_integer: tally->numbers += static_cast<double>(number.get_int64()); break;
        case od::number_type::unsigned_integer: tally->numbers += static_cast<double>(number.get_uint64()); break;
        default: tally->numbers += number.get_double(); break;
      }
      break;
    }
    case od::json_type::string: tally->text_bytes += std::string_view(value.get_string()).size(); break;
    case od::json_type::boolean: tally->numbers += bool(value.get_bool()) ? 1 : 0; break;
    case od::json_type::null: tally->values += value.is_null() ? 1 : 0; break;
  }
}

std::string ReadFile(const char* path) {
  std::ifstream in(path, std::ios::binary);
  std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  if (!in.good() && !in.eof()) {
    std::fprintf(stderr, "cannot read %s\n", path);
    std::exit(2);
  }
  return bytes;
}

template <typename Work>
double MedianMilliseconds(int runs, Work work) {
  std::vector<double> times;
  for (int i = 0; i < runs; ++i) {
    const auto start = Clock::now();
    work();
    times.push_back(std::chrono::duration<double, std::milli>(Clock::now() - start).count());
  }
  std::sort(times.begin(), times.end());
  return times[times.size() / 2];
}

}  // namespace

int main(int argc, char** argv) {
  int runs = 5;
  int first = 1;
  if (argc > 2 && std::string(argv[1]) == "--runs") {
    runs = std::max(1, std::atoi(argv[2]));
    first = 3;
  }
  if (argc - first < 2) {
    std::fprintf(stderr, "usage: %s [--runs N] DOCUMENT.bin DOCUMENT.json...\n", argv[0]);
    return 2;
  }

  const std::string binary = ReadFile(argv[first]);
  bool parsed = true;
  const double parse_ms = MedianMilliseconds(runs, [&] {
    google::protobuf::Arena arena;
    ConfigData* record = google::protobuf::Arena::CreateMessage<ConfigData>(&arena);
    parsed = parsed && record->ParseFromString(binary);
  });
  if (!parsed) {
    std::fprintf(stderr, "%s is not a ConfigData\n", argv[first]);
    return 1;
  }
  std::printf("{\"binary\": \"%s\", \"binary_bytes\": %zu, \"parse_ms\": %.3f, \"walks\": [", argv[first],
              binary.size(), parse_ms);

  od::parser parser;
  for (int i = first + 1; i < argc; ++i) {
    const simdjson::padded_string json(ReadFile(argv[i]));
    Tally tally;
    double walk_ms = 0;
    try {
      walk_ms = MedianMilliseconds(runs, [&] {
        tally = Tally();
        od::document document = parser.iterate(json);
        Walk(document.get_value(), &tally);
      });
    } catch (const simdjson::simdjson_error& e) {
      std::fprintf(stderr, "%s: %s\n", argv[i], e.what());
      return 1;
    }
    std::printf("%s{\"json\": \"%s\", \"json_bytes\": %zu, \"walk_ms\": %.3f, \"values\": %llu}",
                i > first + 1 ? ", " : "", argv[i], json.size(), walk_ms,
                static_cast<unsigned long long>(tally.values));
  }
  std::printf("]}\n");
  return 0;
}
