#ifndef GCUSCHEMA_TESTS_DOCUMENT_SUPPORT_SAMPLE_BYTES_H
#define GCUSCHEMA_TESTS_DOCUMENT_SUPPORT_SAMPLE_BYTES_H

#include <cstdint>
#include <string>

#include <google/protobuf/message.h>

namespace gcuschema::test {

// The record's wire encoding.
std::string EncodeRecord(const google::protobuf::Message& record);

// The encoding of the library's sample of a record type ("ConfigData").
std::string SampleBytes(const std::string& type, int inputs = 12, std::uint64_t seed = 1);

}  // namespace gcuschema::test

#endif
