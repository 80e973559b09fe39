// The C interface when memory runs out: every call returns
// GCUSCHEMA_ERROR_MEMORY (or succeeds, when it needed less than it got) and
// nothing thrown crosses it. The program's operator new, which the library
// uses too, fails on request: a process of its own, as it replaces the
// allocator of everything in it.
#include <gcuschema/document/c.h>

#include <cstdlib>
#include <functional>
#include <new>
#include <string>

#include <gtest/gtest.h>

#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define GCUSCHEMA_SANITIZED 1
#endif
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define GCUSCHEMA_SANITIZED 1
#endif

namespace {

// Allocations of this thread that succeed before every later one fails;
// negative: none fails.
thread_local long allocations_left = -1;

}  // namespace

#if !defined(GCUSCHEMA_SANITIZED)
void* operator new(std::size_t size) {
  if (allocations_left == 0) throw std::bad_alloc();
  if (allocations_left > 0) --allocations_left;
  if (void* memory = std::malloc(size == 0 ? 1 : size)) return memory;
  throw std::bad_alloc();
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
#endif

namespace {

// An encoded ConfigData: one input with AdcConfiguration settings, one
// output naming an output that is not there.
const std::string kDocument(
    "\x08\x03\x1a\x22\x08\x01\x2a\x0f\x4f\x69\x6c\x20\x74\x65\x6d\x70\x65\x72\x61\x74\x75\x72\x65\x32\x0d\x08"
    "\x02\x28\xc8\x01\x30\xc0\x3e\x48\xfe\x3f\x50\x28\x22\x17\x08\x01\x18\x04\x2a\x0d\x4c\x69\x6e\x65\x20\x70"
    "\x72\x65\x73\x73\x75\x72\x65\x32\x02\x08\x07",
    63);

// Runs `call` with every allocation from the `n`th on failing, for n from 0
// until the call no longer runs short; each run must either succeed or
// report memory. The call runs once with all the memory it wants first: the
// protobuf runtime sets up its descriptors on first use, and that set-up
// does not survive an allocation failing.
void EachShortage(const std::function<gcuschema_status(gcuschema_error**)>& call) {
#if defined(GCUSCHEMA_SANITIZED)
  GTEST_SKIP() << "the sanitizer's allocator cannot be replaced";
#endif
  ASSERT_EQ(call(nullptr), GCUSCHEMA_OK);
  bool ran_short = false;
  for (long n = 0;; ++n) {
    gcuschema_error* error = nullptr;
    allocations_left = n;
    const gcuschema_status status = call(&error);
    const bool short_of_memory = allocations_left == 0;
    allocations_left = -1;
    if (status == GCUSCHEMA_OK) {
      EXPECT_EQ(error, nullptr);
      EXPECT_TRUE(ran_short) << "the call needs no memory at all";
      return;
    }
    ran_short = true;
    ASSERT_EQ(status, GCUSCHEMA_ERROR_MEMORY) << "with " << n << " allocations: " << gcuschema_error_message(error);
    ASSERT_TRUE(short_of_memory) << n;
    ASSERT_NE(error, nullptr);
    EXPECT_EQ(gcuschema_error_status(error), GCUSCHEMA_ERROR_MEMORY);
    EXPECT_STREQ(gcuschema_error_message(error),
                 "the library ran out of memory; free some, or work on a smaller document");
    gcuschema_error_free(error);
    ASSERT_LT(n, 100000) << "the call never succeeds";
  }
}

gcuschema_document* Read() {
  gcuschema_document* document = nullptr;
  EXPECT_EQ(gcuschema_read("ConfigData", kDocument.data(), kDocument.size(), nullptr, &document, nullptr),
            GCUSCHEMA_OK);
  return document;
}

TEST(CInterfaceMemory, ReadReportsMemoryAtEveryShortage) {
  gcuschema_read_options options{};
  for (const gcuschema_format format : {GCUSCHEMA_FORMAT_DETECT, GCUSCHEMA_FORMAT_BINARY}) {
    options.format = format;
    EachShortage([&](gcuschema_error** error) {
      gcuschema_document* document = nullptr;
      const gcuschema_status status =
          gcuschema_read("ConfigData", kDocument.data(), kDocument.size(), &options, &document, error);
      EXPECT_EQ(document != nullptr, status == GCUSCHEMA_OK);
      gcuschema_document_free(document);
      return status;
    });
  }
}

TEST(CInterfaceMemory, WriteReportsMemoryAtEveryShortage) {
  gcuschema_document* document = Read();
  for (const gcuschema_format format : {GCUSCHEMA_FORMAT_BINARY, GCUSCHEMA_FORMAT_TEXT, GCUSCHEMA_FORMAT_JSON}) {
    EachShortage([&](gcuschema_error** error) {
      char* data = nullptr;
      size_t size = 0;
      const gcuschema_status status = gcuschema_write(document, format, nullptr, &data, &size, error);
      EXPECT_EQ(data != nullptr, status == GCUSCHEMA_OK);
      gcuschema_buffer_free(data);
      return status;
    });
  }
  gcuschema_document_free(document);
}

TEST(CInterfaceMemory, LintAndDiffReportMemoryAtEveryShortage) {
  gcuschema_document* document = Read();
  EachShortage([&](gcuschema_error** error) {
    gcuschema_finding* findings = nullptr;
    size_t count = 0;
    const gcuschema_status status = gcuschema_lint(document, nullptr, &findings, &count, error);
    EXPECT_EQ(findings != nullptr, status == GCUSCHEMA_OK);
    gcuschema_findings_free(findings);
    return status;
  });
  gcuschema_document* other = Read();
  EachShortage([&](gcuschema_error** error) {
    gcuschema_difference* differences = nullptr;
    size_t count = 0;
    return gcuschema_diff(document, other, nullptr, &differences, &count, error);
  });
  gcuschema_document_free(other);
  gcuschema_document_free(document);
}

// (Not gcuschema_json_schema: the JSON library it builds the schema with
// allocates while destroying nested values, in a destructor that cannot
// throw, and so ends the process when memory runs out there.)
TEST(CInterfaceMemory, SettingsRecordReportsMemoryAtEveryShortage) {
  const char* const pairs[] = {"input:FrequencyInput=AdcConfiguration"};
  const gcuschema_pairing pairing{pairs, 1, nullptr};
  EachShortage([&](gcuschema_error** error) {
    const char* record = nullptr;
    return gcuschema_settings_record_named("input", "FrequencyInput", &pairing, &record, error);
  });
}

// A failure whose error object cannot be made either still says why.
TEST(CInterfaceMemory, ErrorThatCannotBeMadeIsTheConstantOne) {
#if defined(GCUSCHEMA_SANITIZED)
  GTEST_SKIP() << "the sanitizer's allocator cannot be replaced";
#endif
  gcuschema_error* error = nullptr;
  gcuschema_document* document = nullptr;
  ASSERT_EQ(gcuschema_read("ConfigData", "", 0, nullptr, &document, nullptr), GCUSCHEMA_ERROR_FORMAT);
  allocations_left = 0;
  const gcuschema_status status = gcuschema_read("ConfgData", "", 0, nullptr, &document, &error);
  allocations_left = -1;
  EXPECT_EQ(status, GCUSCHEMA_ERROR_MEMORY);
  EXPECT_EQ(document, nullptr);
  EXPECT_EQ(gcuschema_error_status(error), GCUSCHEMA_ERROR_MEMORY);
  gcuschema_error_free(error);
  gcuschema_error_free(error);  // the constant one: never released
}

}  // namespace
