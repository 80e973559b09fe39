#include "json/codec.h"

#include <nlohmann/json.hpp>

#include "json/keys.h"

namespace gcuschema::document {
namespace {

// Stops at the first member of the top-level object that settles the
// question: "@type" with a string, or the end of the object.
class DocumentTypeProbe : public nlohmann::json_sax<nlohmann::json> {
 public:
  std::string type;

  bool null() override { return Value(); }
  bool boolean(bool) override { return Value(); }
  bool number_integer(number_integer_t) override { return Value(); }
  bool number_unsigned(number_unsigned_t) override { return Value(); }
  bool number_float(number_float_t, const string_t&) override { return Value(); }
  bool string(string_t& value) override {
    if (depth_ == 1 && type_next_) {
      type = value;
      return false;
    }
    return Value();
  }
  bool binary(binary_t&) override { return false; }
  bool start_object(std::size_t) override {
    type_next_ = false;
    return ++depth_ > 0;
  }
  bool key(string_t& value) override {
    type_next_ = depth_ == 1 && value == internal::kTypeKey;
    return true;
  }
  bool end_object() override { return --depth_ > 0; }
  bool start_array(std::size_t) override {
    type_next_ = false;
    return depth_++ > 0;
  }
  bool end_array() override { return --depth_ > 0; }
  bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception&) override { return false; }

 private:
  bool Value() {
    type_next_ = false;
    return depth_ > 0;
  }
  int depth_ = 0;
  bool type_next_ = false;
};

}  // namespace

std::string JsonDocumentType(std::string_view text) {
  DocumentTypeProbe probe;
  nlohmann::json::sax_parse(text.begin(), text.end(), &probe);
  return probe.type;
}

}  // namespace gcuschema::document
