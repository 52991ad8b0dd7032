# The front door. Every target sets up what it needs first; CMake does the work.
.PHONY: demo demo-dialog demo-notes test windows demo-windows test-windows package-windows test-windows32 build-bench bench bench-results bench-growth coverage tidy fuzz docs format install package abi abi-accept clean setup

# Where `make install` installs.
PREFIX ?= /usr/local

demo: setup
	@cmake --preset release >/dev/null
	@cmake --build --preset release --target ztk_tour ztk_tour_mac
	@build/release/examples/tour/ztk_tour
	@build/release/examples/tour/Tour.app/Contents/Linux/ztk_tour_mac

demo-dialog:
	@cmake/setup.sh build dialog
	@cmake --preset release >/dev/null
	@cmake --build --preset release --target ztk_dialog
	@build/release/examples/dialog/ztk_dialog open
	@build/release/examples/dialog/ztk_dialog save

demo-notes:
	@cmake/setup.sh build dialog
	@cmake --preset release >/dev/null
	@cmake --build --preset release --target ztk_notes
	@build/release/examples/notes/ztk_notes

test: setup
	cmake --preset dev
	cmake --build --preset dev
	ctest --preset dev

# The library for 64-bit Windows, and its tests under Wine. The summary of the cases comes before
# ctest's, which counts programs.
windows:
	@cmake/setup.sh build windows
	cmake --preset windows >/dev/null
	cmake --build --preset windows --target base
	cmake/check_windows_dll.sh build/windows/ztk/ztkbase-1.dll

demo-windows: windows
	@cmake --build --preset windows --target ztk_tour
	@cmake/run_on_wine.sh build/windows/examples/tour/ztk_tour.exe
	@cmake/setup_wine.sh --stop "$(CURDIR)/build/windows/wine"

package-windows: windows
	cmake --build --preset windows --target ztkdialog_win32 ztk_tool examples/all ztk_on_windows_zip
	cmake -E chdir build/windows cpack
	cmake/check_windows_zip.sh build/windows/packages/ztkbase-*-windows-x86_64-mingw.zip
	cmake/check_on_windows_zip.sh build/windows/packages/ztkbase-*-on-windows-x86_64.zip

test-windows: windows
	cmake --build --preset windows
	cmake/test_windows.sh build/windows

# The 32-bit library, as far as nothing but memory and files is needed: Wine's 32-bit programs go
# into a system of their own below build/, which needs root rights.
test-windows32:
	@cmake/setup.sh build windows windows32
	cmake --preset windows32 >/dev/null
	cmake --build --preset windows32 --target $(WINDOWS32_TESTS:%=tests/%/all)
	cmake/test_windows32.sh build/windows32 $(WINDOWS32_TESTS)

# Their folders; those of others can be named on the command line.
WINDOWS32_TESTS ?= support foundation stream text

build-bench:
	@cmake/setup.sh build bench
	@cmake --preset bench >/dev/null
	@cmake --build --preset bench

bench: build-bench
	@python3 bench/run.py build/bench

bench-results: build-bench
	@python3 bench/run.py build/bench --min-time 0.1 --repetitions 9 \
	  --results bench/RESULTS.md --chart docs/images/benchmarks.svg

bench-growth: build-bench
	@python3 bench/growth.py build/bench

coverage:
	@cmake/setup.sh build coverage
	@cmake --preset coverage >/dev/null
	@cmake --build --preset coverage
	@ctest --preset coverage --output-log build/coverage/ctest.log >/dev/null
	@gcovr --root . --filter ztk/ --exclude-throw-branches --fail-under-line 95 build/coverage

# Deeper than CI looks, which takes three times as long.
tidy:
	@cmake/setup.sh build dialog ci
	@cmake --preset clang >/dev/null
	@cmake/check_tidy.sh build/clang

# How long each target runs.
SECONDS ?= 600
fuzz:
	@cmake/setup.sh build dialog ci
	@cmake --preset fuzz >/dev/null
	@cmake --build --preset fuzz
	@cmake/run_fuzzers.sh $(SECONDS)

docs:
	@cmake/setup.sh docs
	@rm -rf build/docs && mkdir -p build
	@doxygen docs/site/Doxyfile
	@python3 docs/site/check_site.py build/docs/html
	@echo "the site begins at build/docs/html/index.html"

format:
	git ls-files '*.h' '*.cpp' | xargs clang-format -i

install: setup
	cmake --preset install
	cmake --build --preset install
	cmake --install build/install --prefix $(PREFIX)
	@[ "$$(id -u)" -ne 0 ] || ldconfig

package:
	@cmake/setup.sh build dialog packaging
	@cmake --preset package >/dev/null
	@cmake --build --preset package
	@cpack --preset package

# Compares the binary interface of the libraries with the accepted one, or accepts it.
abi abi-accept:
	@cmake/setup.sh build dialog packaging
	@cmake --preset package >/dev/null
	@cmake --build --preset package --target base base_mac >/dev/null
	@cmake/abi.sh $(if $(filter abi-accept,$@),accept,check)

clean:
	rm -rf build

setup:
	@cmake/setup.sh build
