# The front door: each target installs the packages that are missing, builds, and runs.
.PHONY: build demo check check-page check-sanitize check-threads mutants fuzz lint lint-deep docs bench format install package clean

PREFIX ?= /usr/local
FUZZ_SECONDS ?= 600
JOBS ?= $(shell nproc)
MUTANTS ?= --count 60

build:
	scripts/install-deps build
	cmake --preset release $(CMAKE_ARGS)
	cmake --build --preset release

demo: CMAKE_ARGS = -DRADIOMETRY_BUILD_TESTS=OFF -DRADIOMETRY_BUILD_BENCH=OFF
demo: build
	scripts/demo

check:
	scripts/install-deps build check bench
	cmake --preset release -DRADIOMETRY_BUILD_TESTS=ON -DRADIOMETRY_BUILD_BENCH=ON
	cmake --build --preset release
	ctest --preset release -j $(JOBS)

# Looks at the page of a report in a browser; screenshots stay in out/page.
check-page: CMAKE_ARGS = -DRADIOMETRY_BUILD_TESTS=OFF -DRADIOMETRY_BUILD_BENCH=OFF
check-page: build
	scripts/install-deps page
	scripts/check-page

check-sanitize:
	scripts/install-deps build check
	cmake --preset asan-ubsan
	cmake --build --preset asan-ubsan
	ctest --preset asan-ubsan -j $(JOBS)

check-threads:
	scripts/install-deps build check
	cmake --preset tsan
	cmake --build --preset tsan --target thread_tests
	ctest --preset tsan -R Threads

# Changes lines one at a time in a copy of the tree, and says which changes no test notices.
mutants:
	scripts/install-deps build check
	scripts/mutants $(MUTANTS)

# Runs each target for FUZZ_SECONDS; what it finds stays in out/fuzz.
fuzz:
	scripts/install-deps build fuzz
	cmake --preset fuzz
	cmake --build --preset fuzz
	fuzz/run build/fuzz out/fuzz $(FUZZ_SECONDS)

lint:
	scripts/install-deps build check lint bench
	scripts/lint

# Runs the analysis of paths, which takes longer than all the rest.
lint-deep:
	scripts/install-deps build check lint bench
	scripts/lint --deep

# Writes API pages of the public headers to out/docs.
docs:
	scripts/install-deps docs
	scripts/api-docs

bench:
	scripts/install-deps build bench
	cmake --preset release -DRADIOMETRY_BUILD_TESTS=OFF -DRADIOMETRY_BUILD_BENCH=ON
	cmake --build --preset release
	bench/run build/release
	bench/flight build/release
	build/release/bin/panel_benchmark

format:
	scripts/install-deps lint
	scripts/lint --format

install: build
	cmake --install build/release --prefix $(PREFIX)

# Makes a Debian package in out/.
package: CMAKE_ARGS = -DRADIOMETRY_BUILD_TESTS=OFF -DRADIOMETRY_BUILD_BENCH=OFF
package: build
	scripts/install-deps package
	cpack --config build/release/CPackConfig.cmake -G DEB -B out/package
	mv out/package/*.deb out/
	rm -r out/package

clean:
	rm -rf build out
