# Thin wrapper: the build is CMake's, the test run is ctest's.
BUILD ?= build
JOBS ?= $(shell nproc)
CMAKE_FLAGS ?=
ifneq ($(CI),)
CMAKE_FLAGS += -DSPINDREL_WERROR=ON
endif

.PHONY: all deps build run test bench format clean

all: build

deps:
	@scripts/install-deps

build: deps
	cmake -S . -B $(BUILD) -G Ninja $(CMAKE_FLAGS)
	cmake --build $(BUILD) -j $(JOBS)

run: build
	$(BUILD)/src/app/spindrel

test: build
	scripts/with-test-services ctest --test-dir $(BUILD) --output-on-failure -j $(JOBS) $(CTEST_FLAGS)

bench: build
	scripts/with-test-services scripts/run-benchmarks $(BUILD)

format:
	git ls-files '*.cpp' '*.h' | xargs clang-format -i

clean:
	rm -rf $(BUILD)
