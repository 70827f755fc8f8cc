# The front door. `make demo` builds the module and the reference host and runs the example program;
# `make test` builds every configuration and runs every test in it.
PRESETS := native asan-ubsan tsan armhf
JOBS ?= $(shell nproc)

.PHONY: all deps demo test check-format check-includes check-binaries bench bench-instructions clean package \
        $(addprefix build-,$(PRESETS)) $(addprefix test-,$(PRESETS))

all: test

deps:
	./cmake/install-deps.sh

$(addprefix build-,$(PRESETS)): build-%: deps
	cmake --preset $* >/dev/null
	cmake --build --preset $* -j $(JOBS)

$(addprefix test-,$(filter-out tsan,$(PRESETS))): test-%: build-%
	ctest --preset $* -j $(JOBS)

# ThreadSanitizer needs a fixed address-space layout; setarch -R switches off
# address randomisation for ctest and every test it starts.
test-tsan: build-tsan
	setarch $$(uname -m) -R ctest --preset tsan -j $(JOBS)

test: check-format check-includes $(addprefix test-,$(PRESETS))
	./cmake/check-binaries.sh
	$(MAKE) fuzz FUZZ_SECONDS=20

check-binaries:
	./cmake/check-binaries.sh

check-format: deps
	./cmake/check-format.sh

# host/ builds on nothing of stephost/, the module on neither.
check-includes:
	./cmake/check-includes.sh

# Only the module and stephost (which needs the stand-in's CollectionsEx.so
# too): no tests, benchmarks or fuzzers before the first line of the trace.
# The run's HTML report is written to build/demo-report.html.
demo: deps
	cmake --preset native >/dev/null
	cmake --build --preset native -j $(JOBS) --target stephost
	./build/native/stephost run --report build/demo-report.html examples/demo.xml
	@echo "The run's report: build/demo-report.html (open it in a browser: xdg-open build/demo-report.html)"

# Google Benchmark timings with each scenario's ratio to its baseline.
bench: build-native
	./build/native/bench/flukokzad_bench --benchmark_color=false

# The same scenarios under callgrind: instruction counts, stable on a busy machine.
bench-instructions: build-native
	./bench/instructions.sh build/native/bench/flukokzad_bench

# Debian packages of the native and armhf builds (cmake/Packaging.cmake),
# gathered in build/packages and checked with lintian.
package: build-native build-armhf
	cd build/native && cpack --config CPackConfig.cmake
	cd build/armhf && cpack --config CPackConfig.cmake
	mkdir -p build/packages
	cp build/native/packages/*.deb build/armhf/packages/*.deb build/packages/
	lintian --fail-on error $$(ls build/native/packages/*.deb build/armhf/packages/*.deb)

clean:
	rm -rf build

# The native tests under valgrind's memcheck: any error, or a block definitely
# lost, fails the run. cmake/valgrind.supp holds the one suppression needed
# (glibc's vectorised wmemcmp). The stress tests run a twentieth of their
# rounds here, and the hostile host fails every twentieth lookup alone instead
# of each (FLUKO_STRESS_DIVISOR); every other test runs as it is.
.PHONY: valgrind
valgrind: build-native
	cd build/native && FLUKO_STRESS_DIVISOR=20 valgrind --error-exitcode=1 --errors-for-leak-kinds=definite \
	    --leak-check=full --suppressions=../../cmake/valgrind.supp ./tests/flukokzad_tests

# libFuzzer targets (fuzz/, clang): each runs FUZZ_SECONDS from its seeds in
# fuzz/corpus/<target> into a work corpus under build/fuzz/corpus/, one target
# per core at a time (FUZZ_JOBS).
FUZZ_SECONDS ?= 600
FUZZ_TARGETS ?= text persist filenames propwrite program

.PHONY: build-fuzz fuzz fuzz-merge
build-fuzz: deps
	cmake --preset fuzz >/dev/null
	cmake --build --preset fuzz -j $(JOBS)

fuzz: build-fuzz
	./fuzz/run.sh $(FUZZ_SECONDS) $(FUZZ_TARGETS)

# Takes the work corpus's new coverage into fuzz/corpus (MAX_LEN, BUDGET_KB).
fuzz-merge: build-fuzz
	./fuzz/merge.sh $(FUZZ_TARGETS)

# A seeded sample of one-line mutants of the module's sources (cmake/mutants.py):
# each is built in build/mutants and run against the native suite until its
# first failure; killed or survived goes to build/mutants.txt (TESTING.md).
MUTANTS ?= 150
SEED ?= 1
.PHONY: mutants
mutants: deps
	python3 cmake/mutants.py --count $(MUTANTS) --seed $(SEED)

# A second sampler with faults of other kinds and its own draw (cmake/faults.py),
# built in build/faults; caught or missed goes to build/faults.txt.
FAULT_SEED ?= 7
.PHONY: faults
faults: deps
	python3 cmake/faults.py --count $(MUTANTS) --seed $(FAULT_SEED)

