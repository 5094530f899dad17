# Thin wrappers over CMake + Ninja. `make test` and `make demo` are the whole
# set-up on a fresh Debian machine: both install what is missing first.
BUILD      ?= build
ASAN_BUILD ?= build-asan
JOBS       ?= $(shell nproc)
CMAKE_ARGS ?=
CTEST_ARGS ?=

FORMAT_FILES = $(shell git ls-files '*.h' '*.hpp' '*.cpp' '*.cc' 2>/dev/null)

.PHONY: all build deps configure test test-asan bench demo format format-check clean pd

all: build

deps:
	@bash scripts/install-deps.sh

$(BUILD)/build.ninja:
	cmake -S . -B $(BUILD) -G Ninja -DCMAKE_BUILD_TYPE=Release $(CMAKE_ARGS)

configure: $(BUILD)/build.ninja

build: configure
	cmake --build $(BUILD) -j $(JOBS)

test: deps
	cmake -S . -B $(BUILD) -G Ninja -DCMAKE_BUILD_TYPE=Release $(CMAKE_ARGS)
	cmake --build $(BUILD) -j $(JOBS)
	cd $(BUILD) && ctest --output-on-failure -j $(JOBS) $(CTEST_ARGS)

test-asan: deps
	cmake -S . -B $(ASAN_BUILD) -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DZORV_SANITIZE=ON -DZORV_BUILD_BENCH=OFF $(CMAKE_ARGS)
	cmake --build $(ASAN_BUILD) -j $(JOBS)
	cd $(ASAN_BUILD) && ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
		ctest --output-on-failure -j $(JOBS) $(CTEST_ARGS)

bench: deps configure
	cmake --build $(BUILD) -j $(JOBS) --target zorv_bench
	$(BUILD)/bench/zorv_bench $(BENCH_ARGS)

demo: deps configure
	cmake --build $(BUILD) -j $(JOBS)
	@if [ -x $(BUILD)/tools/zorv-render/zorv-render ]; then \
		mkdir -p demo && $(BUILD)/tools/zorv-render/zorv-render --demo -o demo/demo.wav "@numinputs 1 @numoutputs 8 @type vbap2d" ; \
	else \
		echo "zorv-render is not built yet: the offline renderer is still to come."; \
	fi

format:
	clang-format -i $(FORMAT_FILES)

format-check:
	clang-format --dry-run --Werror $(FORMAT_FILES)

clean:
	rm -rf $(BUILD) $(ASAN_BUILD)
