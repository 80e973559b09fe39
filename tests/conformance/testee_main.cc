// The testee the conformance runner starts: requests on standard input,
// responses on standard output, each framed as a 4-byte little-endian
// length and the encoded message. Ends at the end of its input.
#include <cstdint>
#include <cstdio>
#include <string>

#include "answer.h"

namespace {

bool ReadExactly(void* data, std::size_t size) {
  return size == 0 || std::fread(data, size, 1, stdin) == 1;
}

enum class Frame { kRead, kEnd, kCut };

Frame ReadFrame(std::string* frame) {
  unsigned char prefix[4];
  if (!ReadExactly(prefix, sizeof prefix)) return Frame::kEnd;
  std::uint32_t size = prefix[0] | prefix[1] << 8 | prefix[2] << 16 | std::uint32_t{prefix[3]} << 24;
  frame->resize(size);
  return ReadExactly(frame->data(), size) ? Frame::kRead : Frame::kCut;
}

bool WriteFrame(const std::string& frame) {
  auto size = static_cast<std::uint32_t>(frame.size());
  const unsigned char prefix[4] = {static_cast<unsigned char>(size), static_cast<unsigned char>(size >> 8),
                                   static_cast<unsigned char>(size >> 16), static_cast<unsigned char>(size >> 24)};
  return std::fwrite(prefix, sizeof prefix, 1, stdout) == 1 &&
         (frame.empty() || std::fwrite(frame.data(), frame.size(), 1, stdout) == 1) && std::fflush(stdout) == 0;
}

}  // namespace

int main() {
  std::string frame;
  int answered = 0;
  Frame read;
  while ((read = ReadFrame(&frame)) == Frame::kRead) {
    conformance::ConformanceRequest request;
    if (!request.ParseFromString(frame)) {
      std::fprintf(stderr, "gcuschema_conformance_testee: request %d does not parse\n", answered + 1);
      return 1;
    }
    std::string reply;
    gcuschema::conformance::Answer(request).SerializeToString(&reply);
    if (!WriteFrame(reply)) {
      std::perror("gcuschema_conformance_testee: writing a response");
      return 1;
    }
    ++answered;
  }
  if (read == Frame::kCut || std::ferror(stdin)) {
    std::fprintf(stderr, "gcuschema_conformance_testee: request %d is cut short\n", answered + 1);
    return 1;
  }
  return 0;
}
