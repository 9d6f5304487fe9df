# The commands of this repository; each gets ready what it needs first. The work is done in tools/.
.DEFAULT_GOAL := help
.PHONY: help setup build package try-package test live foreign play pictures format format-check docs-check tidy bench fuzz soak clean

# A variable's value as one word for the shell, whatever stands in it: blanks, quotes and dollars too.
quoted = '$(subst ','\'',$(value $(1)))'
unexport STREAM # on the way make would expand its value

help: ## this list
	@sed -n 's/^\([a-z-]*\):.*## \(.*\)/  make \1|\2/p' $(MAKEFILE_LIST) | awk -F'|' '{printf "%-20s %s\n", $$1, $$2}'

play: ## play the demo stream, or STREAM=file.ts, in the analyzer's window
	@VISTRAME_CALLER=$(call quoted,PWD) tools/play $(if $(value STREAM),$(call quoted,STREAM))

test: ## build everything and run every test
	@tools/test

live: ## measure what happens to live streams on the built player (fourteen minutes)
	@tools/live

foreign: ## play streams that other encoders and multiplexers made (seven minutes)
	@tools/foreign

pictures: ## take the pictures of the analyzer's window that the docs show
	@tools/pictures

build: ## build the product: build/mingw32
	@tools/setup play
	@tools/build mingw32

try-package: ## the package by mouse and keyboard: installed, used, updated, removed, a picture of each step
	@tools/try-package

package: ## zip and installer for Windows: build/package
	@tools/package

setup: ## packages, Wine and libraries, and nothing else
	@tools/setup

format: ## lay every source out as .clang-format says
	@tools/setup check
	@git ls-files -z "*.cpp" "*.h" | xargs -0 clang-format -i

format-check: ## is every source laid out as .clang-format says?
	@tools/setup check
	@tools/format-check

docs-check: ## do the documents say what is there, and do the commands they show work? (two minutes)
	@tools/setup
	@tools/docs-check
	@tools/docs-commands run

tidy: ## clang-tidy over the product's sources
	@tools/setup
	@tools/build native
	@tools/build mingw32
	@tools/tidy

bench: ## measure what is claimed to be fast
	@tools/bench

fuzz: ## SECONDS=60 of every fuzz target
	@tools/fuzz $(or $(SECONDS),60)

soak: ## MINUTES=20 of random changes of programme, what they take measured
	@tools/soak $(or $(MINUTES),20)

clean: ## remove this checkout's build folders; the cache outside stays
	@rm -rf build
