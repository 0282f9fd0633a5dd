# Thin wrapper: the build is CMake's, the test run is ctest's.
BUILD ?= build
JOBS ?= $(shell nproc)
CMAKE_FLAGS ?=
ifneq ($(CI),)
CMAKE_FLAGS += -DSPINDREL_WERROR=ON
endif

.PHONY: all deps build run test bench deb format clean

all: build

deps:
	@scripts/install-deps

build: deps
	cmake -S . -B $(BUILD) -G Ninja $(CMAKE_FLAGS)
	cmake --build $(BUILD) -j $(JOBS)

run: build
	$(BUILD)/src/app/spindrel

# Tests on the shared sound server and display would hear and see each other: they run one at a
# time after the unit tests, which run side by side.
test: build
ifeq ($(CTEST_FLAGS),)
	scripts/with-test-services sh -c 'ctest --test-dir $(BUILD) --output-on-failure -j $(JOBS) -L unit; \
	    unit=$$?; ctest --test-dir $(BUILD) --output-on-failure -LE unit; gui=$$?; \
	    [ $$unit -eq 0 ] && [ $$gui -eq 0 ]'
else
	scripts/with-test-services ctest --test-dir $(BUILD) --output-on-failure -j $(JOBS) $(CTEST_FLAGS)
endif

bench: build
	scripts/with-test-services scripts/run-benchmarks $(BUILD)

# A Debian package of the deck in $(BUILD): spindrel_<version>_<arch>.deb.
deb: build
	cd $(BUILD) && cpack

format:
	git ls-files '*.cpp' '*.h' | xargs clang-format -i

clean:
	rm -rf $(BUILD)
