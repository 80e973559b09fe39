#include "answer.h"

#include <exception>
#include <memory>
#include <string>

#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>

#include <gcuschema/document/error.h>

#include "engine_adapter.h"

namespace gcuschema::conformance {
namespace {

namespace pb = google::protobuf;
using ::conformance::ConformanceRequest;
using ::conformance::ConformanceResponse;

std::unique_ptr<pb::Message> NewRecord(const std::string& type_name) {
  const pb::Descriptor* type = pb::DescriptorPool::generated_pool()->FindMessageTypeByName(type_name);
  if (type == nullptr) return nullptr;
  return std::unique_ptr<pb::Message>(pb::MessageFactory::generated_factory()->GetPrototype(type)->New());
}

// Text format and JSPB are no mappings of the library's.
const char* OtherMapping(const ConformanceRequest& request) {
  if (request.payload_case() == ConformanceRequest::kTextPayload ||
      request.requested_output_format() == ::conformance::TEXT_FORMAT) {
    return "text format";
  }
  if (request.payload_case() == ConformanceRequest::kJspbPayload ||
      request.requested_output_format() == ::conformance::JSPB) {
    return "JSPB";
  }
  return nullptr;
}

// Fills `response` with the parse error and returns false when the payload
// does not read.
bool Read(const ConformanceRequest& request, pb::Message* record, ConformanceResponse* response) {
  switch (request.payload_case()) {
    case ConformanceRequest::kProtobufPayload:
      if (record->ParseFromString(request.protobuf_payload())) return true;
      response->set_parse_error("the protobuf payload does not parse as " + request.message_type());
      return false;
    case ConformanceRequest::kJsonPayload: {
      JsonReading reading;
      reading.ignore_unknown_fields =
          request.test_category() == ::conformance::JSON_IGNORE_UNKNOWN_PARSING_TEST;
      try {
        ReadJson(request.json_payload(), record, reading);
        return true;
      } catch (const Unsupported&) {
        throw;
      } catch (const document::Error& e) {
        response->set_parse_error(e.what());
        return false;
      }
    }
    default:
      response->set_runtime_error("the request has no payload");
      return false;
  }
}

void Write(const ConformanceRequest& request, const pb::Message& record, ConformanceResponse* response) {
  switch (request.requested_output_format()) {
    case ::conformance::PROTOBUF:
      if (!record.SerializeToString(response->mutable_protobuf_payload())) {
        response->set_serialize_error("the record does not encode (a required field unset)");
      }
      return;
    case ::conformance::JSON:
      try {
        response->set_json_payload(WriteJson(record));
      } catch (const Unsupported&) {
        throw;
      } catch (const document::Error& e) {
        response->set_serialize_error(e.what());
      }
      return;
    default:
      response->set_runtime_error("the request names no output format");
  }
}

}  // namespace

ConformanceResponse Answer(const ConformanceRequest& request) {
  ConformanceResponse response;
  if (const char* other = OtherMapping(request)) {
    response.set_skipped(std::string(other) + " is not a mapping of the library's");
    return response;
  }
  std::unique_ptr<pb::Message> record = NewRecord(request.message_type());
  if (record == nullptr) {
    response.set_runtime_error("unknown message type " + request.message_type());
    return response;
  }
  try {
    if (Read(request, record.get(), &response)) Write(request, *record, &response);
  } catch (const Unsupported& e) {
    response.set_skipped(std::string("the codec does not cover: ") + e.what());
  } catch (const std::exception& e) {
    // Anything but a codec error is a fault of the codec or the testee.
    response.set_runtime_error(e.what());
  }
  return response;
}

}  // namespace gcuschema::conformance
