#ifndef GCUSCHEMA_TESTS_SUPPORT_WIRE_H
#define GCUSCHEMA_TESTS_SUPPORT_WIRE_H

#include <cstdint>
#include <initializer_list>
#include <string>

#include <google/protobuf/message.h>
#include <gtest/gtest.h>

namespace gcuschema::test {

// The bytes given, written out one by one: Bytes({0x08, 0x01}).
std::string Bytes(std::initializer_list<int> bytes);

// "08 01 5A 02 47 31": readable in a failure message.
std::string Hex(const std::string& bytes);

// Encodes through the runtime's entry point and checks that ByteSizeLong()
// agrees with the number of bytes written.
std::string Encode(const google::protobuf::Message& record);

// Parses with the runtime's entry point (clears the record first).
bool Parse(google::protobuf::Message* record, const std::string& bytes);

// Appends the bytes to what the record holds (the runtime's merge entry).
bool MergeBytes(google::protobuf::Message* record, const std::string& bytes);

}  // namespace gcuschema::test

// EXPECT_ENCODES(record, {0x08, 0x01}): the record encodes to exactly these bytes.
#define EXPECT_ENCODES(record, ...)                        \
  EXPECT_EQ(::gcuschema::test::Hex(::gcuschema::test::Encode(record)), \
            ::gcuschema::test::Hex(::gcuschema::test::Bytes(__VA_ARGS__)))

#endif
