# Convenience front end to CMake. On a bare system, ./bootstrap installs the
# Debian packages (make among them) and then runs make.
#   make        check the Debian packages, configure and build (build/vestra)
#   make test   build and run the whole test suite
#   make asan   the test suite again under AddressSanitizer + UBSan (build-asan/)
#   make bench  the benchmarks (BENCH_ARGS passes options to Google Benchmark)
#   make fuzz   each libFuzzer target for FUZZ_SECONDS seconds (clang++, build-fuzz/)
#   make install PREFIX=/usr/local
#               install the programs, their manual pages and bash completion,
#               and the Python package vestra where Debian's Python finds it

BUILD ?= build
ASAN_BUILD ?= build-asan
JOBS ?= $(shell nproc)
PREFIX ?= /usr/local

.PHONY: all deps build test install asan bench fuzz clean

all: build

# The Debian packages the build and the tests need (listed in ./bootstrap):
# installed as root, else the command to run as root is printed.
deps:
	@sh ./bootstrap --install

$(BUILD)/CMakeCache.txt: | deps
	cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=RelWithDebInfo

build: deps $(BUILD)/CMakeCache.txt
	cmake --build $(BUILD) -j$(JOBS)

test: build
	ctest --test-dir $(BUILD) --output-on-failure -j$(JOBS)

install: build
	cmake --install $(BUILD) --prefix $(PREFIX)

# The sanitizer build at -O1 with line tables only: it compiles in about
# half the time and its reports still name functions, files and lines.
asan: deps
	cmake -S . -B $(ASAN_BUILD) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DVESTRA_SANITIZE=ON \
	  -DCMAKE_CXX_FLAGS_RELWITHDEBINFO="-O1 -g1 -DNDEBUG"
	cmake --build $(ASAN_BUILD) -j$(JOBS)
	ctest --test-dir $(ASAN_BUILD) --output-on-failure -j$(JOBS)

# Benchmarks (Google Benchmark, GeographicLib as the reference), in their
# own build directory.
BENCH_BUILD ?= build-bench
bench: deps
	@sh ./bootstrap --install libbenchmark-dev
	cmake -S . -B $(BENCH_BUILD) -DCMAKE_BUILD_TYPE=RelWithDebInfo \
	  -DVESTRA_BENCH=ON -DBUILD_TESTING=OFF
	cmake --build $(BENCH_BUILD) -j$(JOBS)
	$(BENCH_BUILD)/bench/vestra_bench $(BENCH_ARGS)

FUZZ_BUILD ?= build-fuzz
FUZZ_SECONDS ?= 60
fuzz: deps
	@sh ./bootstrap --install clang libclang-rt-dev
	CXX=clang++ cmake -S . -B $(FUZZ_BUILD) -DVESTRA_FUZZ=ON -DBUILD_TESTING=OFF \
	  -DCMAKE_BUILD_TYPE=RelWithDebInfo
	cmake --build $(FUZZ_BUILD) -j$(JOBS)
	for t in cli numeric fix; do \
	  mkdir -p $(FUZZ_BUILD)/corpus/$$t && \
	  $(FUZZ_BUILD)/fuzz/$${t}_fuzzer -max_total_time=$(FUZZ_SECONDS) -close_fd_mask=3 \
	    -timeout=10 $(abspath $(FUZZ_BUILD))/corpus/$$t $(CURDIR)/fuzz/corpus/$$t || exit 1; \
	done

clean:
	rm -rf $(BUILD) $(ASAN_BUILD) $(FUZZ_BUILD) $(BENCH_BUILD)
