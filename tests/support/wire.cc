#include "support/wire.h"

#include <cstdio>

namespace gcuschema::test {

std::string Bytes(std::initializer_list<int> bytes) {
  std::string out;
  out.reserve(bytes.size());
  for (int b : bytes) out.push_back(static_cast<char>(static_cast<std::uint8_t>(b)));
  return out;
}

std::string Hex(const std::string& bytes) {
  std::string out;
  char buf[4];
  for (unsigned char c : bytes) {
    std::snprintf(buf, sizeof buf, out.empty() ? "%02X" : " %02X", c);
    out += buf;
  }
  return out;
}

std::string Encode(const google::protobuf::Message& record) {
  std::string out;
  const size_t expected = record.ByteSizeLong();
  EXPECT_TRUE(record.SerializeToString(&out)) << record.GetTypeName();
  EXPECT_EQ(out.size(), expected) << record.GetTypeName();
  return out;
}

bool Parse(google::protobuf::Message* record, const std::string& bytes) {
  return record->ParseFromString(bytes);
}

bool MergeBytes(google::protobuf::Message* record, const std::string& bytes) {
  return record->MergeFromString(bytes);
}

}  // namespace gcuschema::test
