# Thin wrappers over CMake + Ninja. `make test` and `make demo` are the whole
# set-up on a fresh Debian machine: both install what is missing first.
BUILD      ?= build
ASAN_BUILD ?= build-asan
TSAN_BUILD ?= build-tsan
JOBS       ?= $(shell nproc)
CMAKE_ARGS ?=
CTEST_ARGS ?=

FORMAT_FILES = $(shell git ls-files '*.h' '*.hpp' '*.cpp' '*.cc' 2>/dev/null)

PREFIX     ?= /usr/local

.PHONY: all build deps configure test test-asan test-tsan bench fuzz demo format format-check clean pd install uninstall

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

# The signal library's tests that run two threads at once (coefficient sets
# handed to running blocks, filters swapped under them), under ThreadSanitizer.
test-tsan: deps
	cmake -S . -B $(TSAN_BUILD) -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DZORV_SANITIZE_THREAD=ON -DZORV_BUILD_BENCH=OFF $(CMAKE_ARGS)
	cmake --build $(TSAN_BUILD) -j $(JOBS) --target test_nolardsp_threads
	TSAN_OPTIONS=halt_on_error=1 $(TSAN_BUILD)/tests/test_nolardsp_threads --gtest_filter='FadedFilters.*:Fir.*'

bench: deps configure
	cmake --build $(BUILD) -j $(JOBS) --target zorv_bench
	$(BUILD)/bench/zorv_bench $(BENCH_ARGS)

# The long fuzz run of the file readers (SDIF, WAV, AIFF) and of the HRTF
# loaders (.hrtf, .coll, SOFA): FUZZ_MUTATIONS seeded mutations per format
# instead of the few thousand of `make test`.
FUZZ_MUTATIONS ?= 100000
fuzz: deps configure
	cmake --build $(BUILD) -j $(JOBS) --target test_nolardsp test_hrtf
	ZORV_FUZZ_MUTATIONS=$(FUZZ_MUTATIONS) $(BUILD)/tests/test_nolardsp --gtest_filter='*Fuzz*'
	ZORV_FUZZ_MUTATIONS=$(FUZZ_MUTATIONS) $(BUILD)/tests/test_hrtf --gtest_filter='*Fuzz*'

DEMO_RENDER = $(BUILD)/tools/zorv-render/zorv-render
DEMO_FILE   = demo/zorv-demo-ring8.wav
DEMO_BOX    = @numinputs 1 @numoutputs 8 @type vbap2d
DEMO_HEADPHONES_FILE = demo/zorv-demo-binaural.wav
DEMO_HEADPHONES_BOX  = @numinputs 1 @numoutputs 2 @type binaural

# The demonstration: a synthesised source circling the listener once in 8 s,
# on a ring of 8 speakers; and on headphones, the same source going round,
# then over the head, through the built-in HRTF set. The renderer is built only when the object's library
# is there; until a panner exists the object refuses the box, and says so.
demo: deps
	cmake -S . -B $(BUILD) -G Ninja -DCMAKE_BUILD_TYPE=Release $(CMAKE_ARGS)
	@if ninja -C $(BUILD) -t targets all 2>/dev/null | grep -q '^zorv-render:'; then \
		cmake --build $(BUILD) -j $(JOBS) --target zorv-render || exit 1; \
		mkdir -p demo; \
		$(DEMO_RENDER) --demo --bits 16 -o $(DEMO_FILE) "$(DEMO_BOX)" || exit 1; \
		echo; \
		echo "Wrote $(DEMO_FILE): 8 channels, one per speaker of a ring at"; \
		echo "  -45 0 45 90 135 180 -135 -90 degrees (0 is in front, angles grow clockwise);"; \
		echo "  a source of plucked notes and ticks goes once around you in 8 seconds."; \
		echo "Listen on 8 speakers placed so, through an 8-channel device, e.g. (alsa-utils):"; \
		echo "  aplay -D <your 8-channel device> $(DEMO_FILE)"; \
		echo "On headphones or two speakers, fold it to stereo first, e.g. with sox:"; \
		echo "  sox $(DEMO_FILE) demo/zorv-demo-stereo.wav remix 1,2v0.5,6v0.5,7,8 2v0.5,3,4,5,6v0.5"; \
		echo "  (left and right survive, front and back do not), then play it with any player."; \
		$(DEMO_RENDER) --demo --bits 16 -o $(DEMO_HEADPHONES_FILE) "$(DEMO_HEADPHONES_BOX)" || exit 1; \
		echo; \
		echo "Wrote $(DEMO_HEADPHONES_FILE): 2 channels, for HEADPHONES (binaural, built-in HRTF set);"; \
		echo "  the source goes once around you, front, right, behind, left, in 8 seconds,"; \
		echo "  then from the front up over your head to behind you in 4 more."; \
		echo "Listen on headphones with any player, e.g. aplay $(DEMO_HEADPHONES_FILE)"; \
	else \
		echo "zorv-render is not built: the object's library (external/) is not there yet."; \
	fi

# The Pure Data external and its help patch, in $(BUILD)/pd/ (load it with
# `pd -path $(BUILD)/pd`, or copy both files into a folder of Pd's path).
pd: deps
	cmake -S . -B $(BUILD) -G Ninja -DCMAKE_BUILD_TYPE=Release $(CMAKE_ARGS)
	cmake --build $(BUILD) -j $(JOBS) --target zorv_pan_pd
	@echo "Built $(BUILD)/pd/zorv.pan~.pd_linux; try: pd -path $(BUILD)/pd -open $(BUILD)/pd/zorv.pan~-help.pd"

# Installs zorv-render into $(PREFIX)/bin and the Pd external with its help
# patch into $(PREFIX)/lib/pd/extra/zorv.pan~; the list of what was put where
# goes to $(BUILD)/install_manifest.txt, which `make uninstall` reads.
install: build
	cmake --install $(BUILD) --prefix $(PREFIX)

uninstall:
	@if [ ! -f $(BUILD)/install_manifest.txt ]; then \
		echo "nothing to uninstall: $(BUILD)/install_manifest.txt is missing"; exit 1; fi
	@while IFS= read -r f || [ -n "$$f" ]; do \
		if [ -e "$$f" ] || [ -L "$$f" ]; then rm -f -- "$$f" && echo "removed $$f"; fi; \
	done < $(BUILD)/install_manifest.txt
	@while IFS= read -r f || [ -n "$$f" ]; do dirname -- "$$f"; done < $(BUILD)/install_manifest.txt | sort -u | \
		while IFS= read -r d; do case "$$d" in */zorv.pan~) rmdir -- "$$d" 2>/dev/null || true;; esac; done

format:
	clang-format -i $(FORMAT_FILES)

format-check:
	clang-format --dry-run --Werror $(FORMAT_FILES)

clean:
	rm -rf $(BUILD) $(ASAN_BUILD)
