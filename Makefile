# Calvorin: the two everyday commands are `make run` and `make test`.
# Both install missing Debian packages first (scripts/install-deps).

MAKEFLAGS  += --no-print-directory
BUILD      ?= build
ASAN_BUILD ?= build-asan
JOBS       ?= $(shell nproc 2>/dev/null || echo 2)
CMAKE_TYPE ?= RelWithDebInfo

.PHONY: all deps build build-asan run test unit-test asan-test fuzz bench install package clean

all: build

deps:
	@scripts/install-deps

build: deps
	@cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=$(CMAKE_TYPE) >/dev/null
	@cmake --build $(BUILD) -j$(JOBS)

build-asan: deps
	@cmake -S . -B $(ASAN_BUILD) -DCMAKE_BUILD_TYPE=Debug -DCALVORIN_SANITIZE=ON >/dev/null
	@cmake --build $(ASAN_BUILD) -j$(JOBS) --target unit_tests

# The main job: the application (or, without a display, what the
# scheduling core computes for a few sample events).
run: build
	@scripts/run $(BUILD)/bin

# Every test: the normal build, then the unit tests again under
# AddressSanitizer + UndefinedBehaviorSanitizer, then the bounded fuzz runs.
test: build build-asan
	@cd $(BUILD) && ctest --output-on-failure -j$(JOBS)
	@cd $(ASAN_BUILD) && ctest --output-on-failure -j$(JOBS) -L unit
	@scripts/run-fuzzers

bench: build
	@$(BUILD)/bin/calvorin_bench

# The Debian package for /usr: build-package/calvorin_<version>_<arch>.deb.
package: deps
	@cmake -S . -B build-package -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX=/usr \
		-DCMAKE_INSTALL_DOCDIR=share/doc/calvorin -DCALVORIN_BENCH=OFF >/dev/null
	@cmake --build build-package -j$(JOBS) --target package
	@ls build-package/*.deb

clean:
	rm -rf $(BUILD) $(ASAN_BUILD) build-fuzz
