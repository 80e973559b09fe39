#ifndef GCUSCHEMA_CONFORMANCE_ENGINE_ADAPTER_H
#define GCUSCHEMA_CONFORMANCE_ENGINE_ADAPTER_H

#include <stdexcept>
#include <string>
#include <string_view>

#include <google/protobuf/message.h>

// The testee's only way to the companion library's JSON codec: switching
// the testee to another codec API means editing engine_adapter.cc alone.
namespace gcuschema::conformance {

// What a request holds that the codec does not cover (map fields,
// well-known types, extensions, groups): the testee answers "skipped".
class Unsupported : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct JsonReading {
  bool ignore_unknown_fields = false;
};

// Reads JSON text into `record`, replacing what it held. Throws document::Error
// when the codec refuses the text, Unsupported when it does not cover it.
void ReadJson(std::string_view text, google::protobuf::Message* record, const JsonReading& reading);

// `record` as JSON text. Throws document::Error when the codec cannot
// write it, Unsupported when it does not cover it.
std::string WriteJson(const google::protobuf::Message& record);

}  // namespace gcuschema::conformance

#endif
