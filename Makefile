# The two everyday commands: `make run` and `make test`.
BUILD_DIR ?= build
BENCH_DIR ?= build-bench
PACKAGE_DIR ?= build-package
JOBS ?= $(shell nproc)
APP := $(BUILD_DIR)/src/app/gleanmark

.PHONY: deps configure build run test format bench package clean

deps:
	./scripts/install-deps.sh

configure: deps
	@if [ ! -f $(BUILD_DIR)/build.ninja ]; then \
	  cmake -S . -B $(BUILD_DIR) -G Ninja -DCMAKE_BUILD_TYPE=Debug; \
	fi

build: configure
	cmake --build $(BUILD_DIR) -j $(JOBS)

run: build
	./scripts/run.sh $(APP)

test: build
	cd $(BUILD_DIR) && QT_QPA_PLATFORM=offscreen ctest --output-on-failure -j $(JOBS)

format:
	find src tests bench -name '*.cpp' -o -name '*.h' | xargs clang-format -i

# `make bench` measures 1 and 10 MB; `make bench SIZES="--all-columns 0.1 1"` other runs.
bench: deps
	cmake -S . -B $(BENCH_DIR) -G Ninja -DCMAKE_BUILD_TYPE=Release -DGLEANMARK_TESTS=OFF -DGLEANMARK_BENCH=ON
	cmake --build $(BENCH_DIR) -j $(JOBS)
	$(BENCH_DIR)/bench/gleanmark-bench $(SIZES)

# `make package` builds the Debian package in release mode in its own folder:
# $(PACKAGE_DIR)/gleanmark_<version>_<arch>.deb
package: deps
	cmake -S . -B $(PACKAGE_DIR) -G Ninja -DCMAKE_BUILD_TYPE=Release -DGLEANMARK_TESTS=OFF
	cmake --build $(PACKAGE_DIR) -j $(JOBS)
	cd $(PACKAGE_DIR) && cpack -G DEB

clean:
	rm -rf $(BUILD_DIR) $(BENCH_DIR) $(PACKAGE_DIR)
