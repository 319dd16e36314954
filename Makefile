# The two everyday commands: `make run` and `make test`.
# `make run` builds an optimised program in $(RELEASE_DIR); `make test` keeps
# a debug build with the tests in $(BUILD_DIR).
BUILD_DIR ?= build
RELEASE_DIR ?= build-release
BENCH_DIR ?= build-bench
PACKAGE_DIR ?= build-package
JOBS ?= $(shell nproc)
APP := $(RELEASE_DIR)/src/app/gleanmark

.PHONY: deps configure build release run test format bench package clean

deps:
	./scripts/install-deps.sh

configure: deps
	@if [ ! -f $(BUILD_DIR)/build.ninja ]; then \
	  cmake -S . -B $(BUILD_DIR) -G Ninja -DCMAKE_BUILD_TYPE=Debug; \
	fi

build: configure
	cmake --build $(BUILD_DIR) -j $(JOBS)

release: deps
	@if [ ! -f $(RELEASE_DIR)/build.ninja ]; then \
	  cmake -S . -B $(RELEASE_DIR) -G Ninja -DCMAKE_BUILD_TYPE=Release -DGLEANMARK_TESTS=OFF; \
	fi
	cmake --build $(RELEASE_DIR) -j $(JOBS) --target gleanmark

run: release
	./scripts/run.sh $(APP)

test: build
	cd $(BUILD_DIR) && QT_QPA_PLATFORM=offscreen ctest --output-on-failure -j $(JOBS)

format:
	find src tests bench -name '*.cpp' -o -name '*.h' | xargs clang-format -i

# `make bench` measures 1, 10 and 100 MB; `make bench SIZES="1 10"` other sizes.
# Then `gleanmark harvest` against ripgrep; `make bench BIG=1` adds the 5 GB
# inputs, `HARVEST="scale=0.1 text"` passes words to gleanmark-harvest-bench.
bench: deps
	cmake -S . -B $(BENCH_DIR) -G Ninja -DCMAKE_BUILD_TYPE=Release -DGLEANMARK_TESTS=OFF -DGLEANMARK_BENCH=ON
	cmake --build $(BENCH_DIR) -j $(JOBS)
	$(BENCH_DIR)/bench/gleanmark-bench $(SIZES)
	$(BENCH_DIR)/bench/gleanmark-harvest-bench $(if $(BIG),big) $(HARVEST)
	$(BENCH_DIR)/bench/gleanmark-table-bench

# `make package` builds the Debian package in release mode in its own folder:
# $(PACKAGE_DIR)/gleanmark_<version>_<arch>.deb
package: deps
	cmake -S . -B $(PACKAGE_DIR) -G Ninja -DCMAKE_BUILD_TYPE=Release -DGLEANMARK_TESTS=OFF
	cmake --build $(PACKAGE_DIR) -j $(JOBS)
	cd $(PACKAGE_DIR) && cpack -G DEB

clean:
	rm -rf $(BUILD_DIR) $(RELEASE_DIR) $(BENCH_DIR) $(PACKAGE_DIR)
