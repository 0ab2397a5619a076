# What to do with a fresh clone; each installs what it needs and builds by itself.
#
#   make demo    a team's day with trevault, and the C example that prints the database then
#   make install [PREFIX=/usr/local] [DESTDIR=]   the program, the libraries and what others build with
#   make deb     Debian packages of all that
#   make python  the Python package in build/python, and its source distribution
#   make test    all tests: optimised, with the sanitizers, and the checks of the sources
#   make bench   the benchmarks
#   make windows   the libraries, trevault and the examples for Windows, as zip files
#   make test-windows   tests of those, in Wine
#   make test-ports   the engine's and the store's tests as a 32-bit and as a big-endian machine
#
# For daily work: cmake -S . -B build -G Ninja && cmake --build build && ctest --test-dir build

PREFIX = /usr/local

.PHONY: demo install deb python test bench test-ports windows test-windows

demo:
	@scripts/setup.sh build
	@scripts/build.sh build trevault walk
	@scripts/demo.sh build

install:
	@scripts/setup.sh build
	@scripts/build.sh build installed
	@DESTDIR='$(DESTDIR)' cmake --install build --prefix '$(PREFIX)' > /dev/null
	@[ -n '$(DESTDIR)' ] || ldconfig 2> /dev/null || true
	@echo "Installed in $(DESTDIR)$(PREFIX); next: $(PREFIX)/bin/trevault help"

deb:
	@scripts/setup.sh deb
	@scripts/build_packages.sh

python:
	@scripts/setup.sh python
	@scripts/build.sh build python python_source
	@echo "PYTHONPATH=$(CURDIR)/build/python has the package; for pip: $$(ls build/python-source/*.tar.gz)"

test:
	@scripts/setup.sh test
	@scripts/run_tests.sh

bench:
	@scripts/setup.sh bench
	@scripts/build.sh build-bench benchmarks -DCMAKE_BUILD_TYPE=Release -DFOLDAPI_BENCH=ON
	@scripts/run_benchmarks.sh build-bench

test-ports:
	@scripts/setup.sh ports
	@scripts/test_ports.sh

windows:
	@scripts/setup.sh windows
	@scripts/build_windows.sh

test-windows:
	@scripts/setup.sh windows
	@scripts/test_windows.sh
