# Drives CMake. `make test` is what CI runs.
BUILD_DIR   ?= build
ASAN_DIR    ?= build-asan
RELEASE_DIR ?= build-release
WINDOWS_DIR ?= build-windows
WINDOWS_ABS := $(abspath $(WINDOWS_DIR))
JOBS        ?= $(shell nproc 2>/dev/null || echo 2)
CTEST_FLAGS ?= --output-on-failure -j$(JOBS)

.PHONY: all deps deps-test build test test-plain test-sanitize test-windows install clean

all: build

deps:
	@bash scripts/install-deps.sh

build: deps
	cmake -S . -B $(BUILD_DIR) -DCMAKE_BUILD_TYPE=RelWithDebInfo
	cmake --build $(BUILD_DIR) -j$(JOBS)

# What the report tests need beside the build: headless Chromium for the
# HTML page, pytest and pandas for the CSV table.
TEST_PACKAGES := chromium python3-pytest python3-pandas python3-dask python3-distributed
deps-test:
	@bash scripts/install-deps.sh $(TEST_PACKAGES)

# The whole suite twice: a plain build, then ASan+UBSan (any report fails).
test: test-plain test-sanitize

test-plain: build deps-test
	ctest --test-dir $(BUILD_DIR) $(CTEST_FLAGS)

test-sanitize: deps deps-test
	cmake -S . -B $(ASAN_DIR) -DCMAKE_BUILD_TYPE=Debug -DSTATTREE_SANITIZE=ON \
	  -DSTATTREE_BUILD_BENCH=OFF
	cmake --build $(ASAN_DIR) -j$(JOBS)
	ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 \
	UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
	  ctest --test-dir $(ASAN_DIR) $(CTEST_FLAGS)

# The Python package (README, "Python"): the module in $(BUILD_DIR)/python,
# used with PYTHONPATH=$(BUILD_DIR)/python and Debian's /usr/bin/python3.
.PHONY: python
python: deps
	cmake -S . -B $(BUILD_DIR) -DCMAKE_BUILD_TYPE=RelWithDebInfo
	cmake --build $(BUILD_DIR) -j$(JOBS) --target stattree_python

clean:
	rm -rf $(BUILD_DIR) $(ASAN_DIR) $(RELEASE_DIR) $(WINDOWS_DIR)

# The library as stattree.dll (README, "Windows"): a MinGW-w64 cross build
# whose test suite runs under Wine. Installs the tool chain, Wine and a
# GoogleTest built for the target when missing; CI does not run it. The
# command-line tool stays out: its libraries and tests are Linux-only.
test-windows:
	JOBS=$(JOBS) bash scripts/install-windows-deps.sh $(WINDOWS_ABS)/gtest
	cmake -S . -B $(WINDOWS_DIR) -DCMAKE_TOOLCHAIN_FILE=$(CURDIR)/cmake/mingw-w64-x86_64.cmake \
	  -DCMAKE_BUILD_TYPE=RelWithDebInfo -DSTATTREE_BUILD_TOOLS=OFF -DSTATTREE_BUILD_BENCH=OFF \
	  -DGTest_DIR=$(WINDOWS_ABS)/gtest/lib/cmake/GTest
	cmake --build $(WINDOWS_DIR) -j$(JOBS)
	ctest --test-dir $(WINDOWS_DIR) $(CTEST_FLAGS)

# The benchmark (bench/README.md): a Release build, then one run that prints
# the table. Takes several minutes; CI builds the program but never runs it.
.PHONY: bench
bench: deps
	cmake -S . -B $(RELEASE_DIR) -DCMAKE_BUILD_TYPE=Release -DSTATTREE_BUILD_BENCH=ON \
	  -DSTATTREE_BUILD_TESTS=OFF -DSTATTREE_BUILD_TOOLS=OFF
	cmake --build $(RELEASE_DIR) -j$(JOBS) --target stattree_bench
	$(RELEASE_DIR)/bench/stattree_bench

# The benchmark with pandas and DuckDB as contenders on the same rows
# (bench/README.md): installs them when missing (DuckDB's npm package into
# the build folder), then the same run as `make bench`. BENCH_FLAGS narrows
# it, e.g. BENCH_FLAGS="--only W1 --max-records 100000".
BENCH_FLAGS ?=
PEER_DIR    := $(RELEASE_DIR)/bench/peers
.PHONY: bench-peers
bench-peers: deps
	cmake -S . -B $(RELEASE_DIR) -DCMAKE_BUILD_TYPE=Release -DSTATTREE_BUILD_BENCH=ON \
	  -DSTATTREE_BUILD_TESTS=OFF
	cmake --build $(RELEASE_DIR) -j$(JOBS) --target stattree_bench
	bash bench/peers/install.sh $(PEER_DIR)
	$(RELEASE_DIR)/bench/stattree_bench --peers $(PEER_DIR) $(BENCH_FLAGS)

# The engine on 1 and 2 worker processes, their partial results merged
# (bench/README.md): wall-clock speed-up and processor time. WORKERS sets
# the counts; BENCH_FLAGS narrows it as for bench-peers.
WORKERS ?= 1,2
.PHONY: bench-workers
bench-workers: deps
	cmake -S . -B $(RELEASE_DIR) -DCMAKE_BUILD_TYPE=Release -DSTATTREE_BUILD_BENCH=ON \
	  -DSTATTREE_BUILD_TESTS=OFF
	cmake --build $(RELEASE_DIR) -j$(JOBS) --target stattree_bench
	$(RELEASE_DIR)/bench/stattree_bench --workers $(WORKERS) $(BENCH_FLAGS)

# The command-line tool against pandas on a W1 CSV file, start-up and
# reading included (bench/README.md). TOOL_RECORDS sets the sizes.
TOOL_RECORDS ?= 100000 1000000
.PHONY: bench-tool
bench-tool: deps
	cmake -S . -B $(RELEASE_DIR) -DCMAKE_BUILD_TYPE=Release -DSTATTREE_BUILD_BENCH=ON \
	  -DSTATTREE_BUILD_TOOLS=ON -DSTATTREE_BUILD_TESTS=OFF
	cmake --build $(RELEASE_DIR) -j$(JOBS) --target stattree_bench stattree_cli
	bash bench/peers/install.sh $(PEER_DIR)
	/usr/bin/python3 bench/peers/tool_bench.py --bench $(RELEASE_DIR)/bench/stattree_bench \
	  --stattree $(RELEASE_DIR)/tools/stattree --folder $(PEER_DIR)/tool \
	  --records $(TOOL_RECORDS)

# The command-line tool on one W1 CSV file with 1 and 2 reading processes
# (bench/README.md): wall-clock speed-up and processor time.
# TOOL_THREADS_RECORDS sets the size, TOOL_THREADS the counts;
# TOOL_THREADS_FLAGS=--stdin pipes the file in as standard input.
TOOL_THREADS_RECORDS ?= 10000000
TOOL_THREADS         ?= 1 2
TOOL_THREADS_FLAGS   ?=
.PHONY: bench-tool-threads
bench-tool-threads: deps
	cmake -S . -B $(RELEASE_DIR) -DCMAKE_BUILD_TYPE=Release -DSTATTREE_BUILD_BENCH=ON \
	  -DSTATTREE_BUILD_TOOLS=ON -DSTATTREE_BUILD_TESTS=OFF
	cmake --build $(RELEASE_DIR) -j$(JOBS) --target stattree_bench stattree_cli
	/usr/bin/python3 bench/peers/tool_threads.py --bench $(RELEASE_DIR)/bench/stattree_bench \
	  --stattree $(RELEASE_DIR)/tools/stattree --folder $(PEER_DIR)/tool \
	  --records $(TOOL_THREADS_RECORDS) --threads $(TOOL_THREADS) $(TOOL_THREADS_FLAGS)

# The Python package's job.run(df) against pandas' groupby on one DataFrame
# of W1 rows (bench/README.md). PYTHON_RECORDS sets the sizes.
PYTHON_RECORDS ?= 100000 1000000
.PHONY: bench-python
bench-python: deps
	cmake -S . -B $(RELEASE_DIR) -DCMAKE_BUILD_TYPE=Release -DSTATTREE_BUILD_BENCH=ON \
	  -DSTATTREE_BUILD_TOOLS=ON -DSTATTREE_BUILD_TESTS=OFF
	cmake --build $(RELEASE_DIR) -j$(JOBS) --target stattree_bench stattree_python
	PYTHONPATH=$(RELEASE_DIR)/python /usr/bin/python3 bench/peers/python_bench.py \
	  --bench $(RELEASE_DIR)/bench/stattree_bench --folder $(PEER_DIR)/python \
	  --records $(PYTHON_RECORDS)

# The tool on the bundled example data (tools/README.md): installs what is
# missing, builds in Release mode, prints the report and writes its HTML
# form into the build folder.
.PHONY: demo
demo:
	@bash scripts/install-deps.sh
	cmake -S . -B $(RELEASE_DIR) -DCMAKE_BUILD_TYPE=Release -DSTATTREE_BUILD_TOOLS=ON \
	  -DSTATTREE_BUILD_TESTS=OFF -DSTATTREE_BUILD_BENCH=OFF
	cmake --build $(RELEASE_DIR) -j$(JOBS) --target stattree_cli
	$(RELEASE_DIR)/tools/stattree run examples/sales.csv --job examples/sales.json
	$(RELEASE_DIR)/tools/stattree run examples/sales.csv --job examples/sales.json --quiet \
	  --format html --output $(RELEASE_DIR)/sales-report.html
	@echo "HTML report: $(abspath $(RELEASE_DIR))/sales-report.html"

# libFuzzer on the CSV reader, the job loader, the library driven as a
# host drives it (fuzz/fuzz_engine.cc) and the reader of partial results
# (fuzz/fuzz_results_reader.cc), FUZZ_SECONDS each, in a clang build
# of their own. New inputs land in $(FUZZ_DIR)/corpus, never in the seeds;
# a crash stops the run and leaves its input in the current directory (turn
# it into a test).
FUZZ_DIR     ?= build-fuzz
FUZZ_SECONDS ?= 60
.PHONY: fuzz
fuzz:
	@bash scripts/install-deps.sh clang
	cmake -S . -B $(FUZZ_DIR) -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=RelWithDebInfo \
	  -DSTATTREE_BUILD_FUZZ=ON -DSTATTREE_BUILD_TESTS=OFF -DSTATTREE_BUILD_BENCH=OFF \
	  -DSTATTREE_BUILD_TOOLS=OFF
	cmake --build $(FUZZ_DIR) -j$(JOBS) --target fuzz_csv_reader fuzz_job_loader fuzz_engine \
	  fuzz_results_reader
	for target in csv_reader job_loader engine results_reader; do \
	  mkdir -p $(FUZZ_DIR)/corpus/$$target && \
	  $(FUZZ_DIR)/fuzz/fuzz_$$target -max_total_time=$(FUZZ_SECONDS) -rss_limit_mb=2048 \
	    $(FUZZ_DIR)/corpus/$$target fuzz/seeds/$$target || exit 1; \
	done
