# Front door: `make run` and `make test` work on a fresh Debian machine.
BUILD_DIR ?= build
BUILD_TYPE ?= RelWithDebInfo
JOBS ?= $(shell nproc)

.PHONY: all deps configure build run test clean

all: build

deps:
	@scripts/install-deps.sh

$(BUILD_DIR)/build.ninja: | deps
	cmake -S . -B $(BUILD_DIR) -G Ninja -DCMAKE_BUILD_TYPE=$(BUILD_TYPE)

configure: $(BUILD_DIR)/build.ninja

build: configure
	cmake --build $(BUILD_DIR) -j $(JOBS)

run: build
	$(BUILD_DIR)/examples/host/gcuschema_host

test: build
	cd $(BUILD_DIR) && ctest --output-on-failure -j $(JOBS)

clean:
	rm -rf $(BUILD_DIR)
