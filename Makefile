# make check    install what is missing, build (warnings are errors), run every test
# make demo     build, then run a scripted MI session through wem against stock gdb, on a
#               simulated card where namespaces are allowed
# make bench    build and run the benchmarks
# make fuzz     build and run every fuzz target (MI parser, session) for FUZZ_SECONDS each
# SANITIZE=address,undefined (or thread) builds and tests in build-<sanitizers> instead of build.

SANITIZE ?=
comma := ,
ifeq ($(SANITIZE),)
BUILD ?= build
else
BUILD ?= build-$(subst $(comma),-,$(SANITIZE))
endif
CTEST_ARGS ?=
FUZZ_SECONDS ?= 60
JOBS ?= $(shell nproc)

# node and npm run the IDE-client tests (tests/e2e/dap); Debian's unless some install has them.
NODE_PACKAGES := $(if $(shell command -v node && command -v npm),,nodejs npm)
PACKAGES := cmake ninja-build g++ make libboost-dev libboost-regex-dev bison flex \
            libgtest-dev libgmock-dev libbenchmark-dev gdb gdbserver util-linux iproute2 \
            $(NODE_PACKAGES)
FUZZ_PACKAGES := clang libclang-rt-14-dev

.PHONY: all deps build check demo bench fuzz format-check clean

all: build

# Installs the Debian packages that are missing, when we may (root).
define install_missing
	@missing=""; for p in $(1); do dpkg -s $$p >/dev/null 2>&1 || missing="$$missing $$p"; done; \
	if [ -n "$$missing" ]; then \
	  if [ "$$(id -u)" = 0 ]; then \
	    echo "Installing:$$missing"; \
	    apt-get update -qq && DEBIAN_FRONTEND=noninteractive apt-get install -y -qq $$missing >/dev/null; \
	  else echo "Missing packages:$$missing (run as root or install them)"; exit 1; fi; \
	fi
endef

deps:
	$(call install_missing,$(PACKAGES))

$(BUILD)/build.ninja: | deps
	cmake -S . -B $(BUILD) -G Ninja -DWEM_SANITIZE=$(SANITIZE) -DWEM_BENCH=ON

build: deps $(BUILD)/build.ninja
	cmake --build $(BUILD) -j $(JOBS)

check: build
	cd $(BUILD) && ctest --output-on-failure -j $(JOBS) $(CTEST_ARGS)

demo: build
	@sh examples/demo.sh $(BUILD)/bin/wem

bench: deps
	cmake -S . -B build-bench -G Ninja -DCMAKE_BUILD_TYPE=Release -DWEM_BENCH=ON -DWEM_TESTS=ON
	cmake --build build-bench -j $(JOBS)
	@for b in build-bench/bin/bench_*; do echo "== $$b"; $$b || exit 1; done

# Each target keeps what it learns in fuzz-out/<target>/ and starts from its seeds in fuzz/.
FUZZ_TARGETS := fuzz_mi_parser:corpus fuzz_session:session_corpus

fuzz: deps
	$(call install_missing,$(FUZZ_PACKAGES))
	CC=clang CXX=clang++ cmake -S . -B build-fuzz -G Ninja -DWEM_FUZZ=ON -DWEM_TESTS=OFF
	cmake --build build-fuzz -j $(JOBS) --target $(foreach t,$(FUZZ_TARGETS),$(word 1,$(subst :, ,$(t))))
	@for entry in $(FUZZ_TARGETS); do \
	  target=$${entry%%:*}; seeds=$${entry#*:}; \
	  echo "== $$target"; mkdir -p fuzz-out/$$target/corpus; \
	  build-fuzz/bin/$$target -max_total_time=$(FUZZ_SECONDS) -max_len=4096 -timeout=30 \
	    -artifact_prefix=fuzz-out/$$target/ fuzz-out/$$target/corpus fuzz/$$seeds || exit 1; \
	done

format-check:
	@files=$$(git ls-files '*.cc' '*.h'); clang-format --dry-run -Werror $$files
	@! git grep -nI ' $$' -- ':!*.md' ':!tests/data/*' || (echo "trailing blanks"; exit 1)

clean:
	rm -rf build build-* fuzz-out
