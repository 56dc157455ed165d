# `make run` opens the host window on the bundled example; `make test` builds and runs every test;
# `make package` builds the Debian package in the build folder.
BUILD_DIR := build
TEST_ENV := QT_QPA_PLATFORM=offscreen QTWEBENGINE_DISABLE_SANDBOX=1

.PHONY: all deps configure build run test package fuzz clean

all: build

deps:
	@sh scripts/ensure-deps.sh

configure: deps
	@cmake --preset default >/dev/null

build: configure
	@cmake --build --preset default

run: build
	@sh scripts/run.sh $(BUILD_DIR)/app/tamberline --page-parser $(ARGS)

test: build
	@cd $(BUILD_DIR) && env $(TEST_ENV) ctest --output-on-failure --timeout 300 -j2

package: build
	@cd $(BUILD_DIR) && cpack

# Fuzz targets with libFuzzer, ASan and UBSan, FUZZ_SECONDS each (default 300).
fuzz: deps
	@sh scripts/ensure-deps.sh clang-14 libclang-rt-14-dev
	@cmake --preset fuzz >/dev/null
	@cmake --build --preset fuzz --target fuzz_page fuzz_queryfile fuzz_wildcard fuzz_substitute
	@sh scripts/fuzz.sh

clean:
	rm -rf $(BUILD_DIR)
