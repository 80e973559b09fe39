# Front door: `make run` and `make test` work on a fresh Debian machine.
BUILD_DIR ?= build
BUILD_TYPE ?= RelWithDebInfo
JOBS ?= $(shell nproc)

.PHONY: all deps configure build run test bench package clean test-asan test-tsan fuzz fuzz-seeds \
  conformance conformance-reference windows-deps windows-runtime windows test-windows

all: build

deps:
	@scripts/install-deps.sh

$(BUILD_DIR)/build.ninja: | deps
	cmake -S . -B $(BUILD_DIR) -G Ninja -DCMAKE_BUILD_TYPE=$(BUILD_TYPE)

configure: $(BUILD_DIR)/build.ninja

build: configure
	cmake --build $(BUILD_DIR) -j $(JOBS)

TOOL = $(BUILD_DIR)/tools/gcuschema/gcuschema
SAMPLE_DIR = $(BUILD_DIR)/sample

# The main job: a sample configuration document, its summary, and the first
# lines of its expanded JSON (settings shown as the records they hold).
run: build
	@mkdir -p $(SAMPLE_DIR)
	$(TOOL) sample --inputs 24 -o $(SAMPLE_DIR)/config.bin
	$(TOOL) inspect $(SAMPLE_DIR)/config.bin
	$(TOOL) decode -o $(SAMPLE_DIR)/config.json $(SAMPLE_DIR)/config.bin
	@echo "--- first lines of $(SAMPLE_DIR)/config.json"
	@head -n 40 $(SAMPLE_DIR)/config.json

test: build
	cd $(BUILD_DIR) && ctest --output-on-failure -j $(JOBS)

# protobuf's conformance suite against the companion library's JSON codec:
# runner and test messages built from the Debian source of the runtime in
# use, unpacked once into $(BUILD_DIR)/_deps. Prints passed / failed /
# skipped; fails on a failure outside tests/conformance/failure_list.txt.
# conformance-reference runs the runtime's own JSON through the same runner.
PROTOBUF_SOURCE_CMD = scripts/protobuf-source.sh $(abspath $(BUILD_DIR))/_deps
conformance conformance-reference: configure
	@tree=$$($(PROTOBUF_SOURCE_CMD)) || exit 1; \
	  grep -qxF "GCUSCHEMA_PROTOBUF_SOURCE:PATH=$$tree" $(BUILD_DIR)/CMakeCache.txt || \
	  cmake -B $(BUILD_DIR) "-DGCUSCHEMA_PROTOBUF_SOURCE=$$tree"
	cmake --build $(BUILD_DIR) -j $(JOBS) --target $@

# Benchmarks: results (JSON) and the summary table go to bench/results/.
bench: configure
	cmake --build $(BUILD_DIR) -j $(JOBS) --target gcuschema_bench gcuschema_load_probe gcuschema_json_floor gcuschema_tool
	bench/run.sh $(BUILD_DIR)

# The Debian package, in $(BUILD_DIR)/packages/.
package: build
	cd $(BUILD_DIR) && cpack -G DEB -B packages

clean:
	rm -rf $(BUILD_DIR)

# Sanitizer and fuzz builds: clang, each in a build directory of its own, the
# flags given on the command line so that the ordinary build stays untouched.
# C programs link the sanitizers' C++ runtime too, as the library they link
# is C++ (only the C hosts: CMake's check of the C compiler links a plain
# C program).
SAN_CXX ?= clang++-14
SAN_CC ?= clang-14
ASAN_DIR ?= build-asan
TSAN_DIR ?= build-tsan
FUZZ_DIR ?= build-fuzz
FUZZ_SECONDS ?= 60
ASAN_FLAGS := -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer
TSAN_FLAGS := -fsanitize=thread
FUZZ_FLAGS := -fsanitize=fuzzer-no-link,address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer
SAN_CMAKE = cmake -S . -G Ninja -DCMAKE_BUILD_TYPE=$(BUILD_TYPE) -DCMAKE_CXX_COMPILER=$(SAN_CXX) \
  -DCMAKE_C_COMPILER=$(SAN_CC)

$(ASAN_DIR)/build.ninja: | deps
	$(SAN_CMAKE) -B $(ASAN_DIR) "-DCMAKE_CXX_FLAGS=$(ASAN_FLAGS)" "-DCMAKE_C_FLAGS=$(ASAN_FLAGS)" \
	  "-DGCUSCHEMA_C_HOST_LINK_LIBRARIES=-fsanitize-link-c++-runtime;-lstdc++"

$(TSAN_DIR)/build.ninja: | deps
	$(SAN_CMAKE) -B $(TSAN_DIR) "-DCMAKE_CXX_FLAGS=$(TSAN_FLAGS)" "-DCMAKE_C_FLAGS=$(TSAN_FLAGS)"

$(FUZZ_DIR)/build.ninja: | deps
	$(SAN_CMAKE) -B $(FUZZ_DIR) "-DCMAKE_CXX_FLAGS=$(FUZZ_FLAGS)" "-DCMAKE_C_FLAGS=$(FUZZ_FLAGS)" \
	  -DGCUSCHEMA_BUILD_TESTS=OFF -DGCUSCHEMA_FUZZ=ON

# Every test, instrumented, but those that compile and link a plain host
# program against the library or load it into Python: an instrumented
# library needs the sanitizer runtime in the program that loads it.
test-asan: $(ASAN_DIR)/build.ninja
	cmake --build $(ASAN_DIR) -j $(JOBS)
	cd $(ASAN_DIR) && ASAN_OPTIONS=detect_leaks=1:halt_on_error=1 \
	  UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
	  ctest --output-on-failure -j $(JOBS) \
	    -E '^(HostBuild\.OnlyIncludeAndLibraryFlags|Package\.FindPackageConsumer|Package\.PkgConfig.*|Package\.Python.*|PythonPackage\..*|Examples\.Python.*|CInterface\.AnyRecordSchemaChecksEachDocumentAsItsType)$$'

# The concurrency tests, each in a fresh process, and the companion library's
# suite (its codec and the tool it runs work on several threads), under
# ThreadSanitizer.
TSAN_ENV = TSAN_OPTIONS="halt_on_error=1 second_deadlock_stack=1 suppressions=$(CURDIR)/tests/concurrency/tsan.supp"
test-tsan: $(TSAN_DIR)/build.ninja
	cmake --build $(TSAN_DIR) -j $(JOBS) --target gcuschema_concurrency_tests gcuschema_document_tests
	cd $(TSAN_DIR) && $(TSAN_ENV) ctest --output-on-failure -j $(JOBS) -L concurrency
	cd $(TSAN_DIR) && $(TSAN_ENV) tests/gcuschema_document_tests --gtest_brief=1

# Each fuzz target in turn for FUZZ_SECONDS, from the committed seeds.
fuzz: $(FUZZ_DIR)/build.ninja
	cmake --build $(FUZZ_DIR) -j $(JOBS) --target gcuschema_fuzzers
	fuzz/run.sh $(FUZZ_DIR) $(FUZZ_SECONDS)

# Rewrites the committed dictionaries and seed corpora under fuzz/.
fuzz-seeds: $(FUZZ_DIR)/build.ninja
	cmake --build $(FUZZ_DIR) -j $(JOBS) --target gcuschema_fuzz_seeds
	$(FUZZ_DIR)/fuzz/gcuschema_fuzz_seeds fuzz

# Windows: gcuschema.dll, gcuschema_document.dll, their import libraries,
# gcuschema.exe and the tests, cross-built with MinGW-w64 into build-windows/
# against a protobuf runtime, simdjson, {fmt} and GoogleTest cross-built from
# Debian's sources (cached in build-windows/_deps), and run under Wine; the tool's
# output there is compared with the Linux tool's.
WINDOWS_DIR ?= build-windows
WINDOWS_DEPS = $(WINDOWS_DIR)/_deps

windows-deps: deps
	@scripts/install-deps.sh windows

windows-runtime: windows-deps
	@scripts/windows-runtime.sh $(WINDOWS_DEPS) >/dev/null

# Packages are found in the cross-built prefix by their own CMake files
# (protobuf's says its DLL needs PROTOBUF_USE_DLLS in every user).
$(WINDOWS_DIR)/build.ninja: | windows-runtime
	cmake -S . -B $(WINDOWS_DIR) -G Ninja -DCMAKE_BUILD_TYPE=$(BUILD_TYPE) \
	  -DCMAKE_TOOLCHAIN_FILE=$(CURDIR)/cmake/mingw-w64-x86_64.cmake \
	  -DCMAKE_FIND_ROOT_PATH=$(abspath $(WINDOWS_DEPS))/windows \
	  -DCMAKE_FIND_PACKAGE_PREFER_CONFIG=ON \
	  -DGCUSCHEMA_LINUX_TOOL=$(abspath $(TOOL))

windows: windows-runtime $(WINDOWS_DIR)/build.ninja
	cmake --build $(WINDOWS_DIR) -j $(JOBS)

# Each test program runs whole under Wine; the last line counts their tests.
test-windows: windows configure
	cmake --build $(BUILD_DIR) -j $(JOBS) --target gcuschema_tool
	rm -rf $(WINDOWS_DIR)/gtest-results
	cd $(WINDOWS_DIR) && ctest --output-on-failure -j $(JOBS)
	@cmake -DDIR=$(WINDOWS_DIR)/gtest-results -P tests/windows/summary.cmake
