# The few commands of daily work: calls of scripts, of cmake and of ctest.

JOBS ?= $(shell nproc)
export CTEST_OUTPUT_ON_FAILURE = 1

.PHONY: run install uninstall test bench bench-service fuzz gallery local-up local-up-containers \
  local-up-process local-down format lint check clean \
  deps-run deps-test build

run:
	scripts/run

# PREFIX=... for another place than ~/.local; RESET_SETTINGS=yes removes settings and login as well.
install:
	scripts/install.sh $(if $(PREFIX),--prefix "$(PREFIX)")

uninstall:
	scripts/uninstall.sh $(if $(PREFIX),--prefix "$(PREFIX)") \
	  $(if $(RESET_SETTINGS),--reset-settings)

test: deps-test build
	ctest --preset dev --parallel $(JOBS)

bench: deps-test
	scripts/bench

# The figures of the service alone. MINUTES=10 for the long run of mixed load.
MINUTES ?= 1
bench-service: deps-test
	scripts/bench-service "$(MINUTES)"

# Hostile input to everything that reads any, for SECONDS each.
fuzz: deps-test
	scripts/fuzz $(SECONDS)

# A picture of every floating panel in every state, and one contact sheet of them.
gallery: deps-run
	cmake --preset dev
	cmake --build --preset dev --parallel $(JOBS) --target overlay-gallery
	build/dev/tools/overlay-gallery/overlay-gallery build/dev/gallery \
	  --sheet build/dev/gallery/sheet.png

# CONTAINER=1 starts service and database in containers instead.
local-up: $(if $(CONTAINER),local-up-containers,local-up-process)

local-up-containers:
	scripts/local-up --container

local-up-process: deps-run
	cmake --preset dev
	cmake --build --preset dev --parallel $(JOBS) --target lumivane-service
	scripts/local-up

local-down:
	scripts/local-down $(if $(CONTAINER),--container)

format:
	scripts/format

lint:
	scripts/lint

check:
	scripts/format --check
	scripts/check-layers
	scripts/check-clocks
	scripts/check-views

clean:
	cmake -E rm -rf build

build:
	cmake --preset dev
	cmake --build --preset dev --parallel $(JOBS)

# Both look first and do nothing when all is there.
deps-run:
	scripts/install-deps.sh --run

deps-test:
	scripts/install-deps.sh --test
