# Every target is the script of that name, `picture` two; `make` builds build/windows/bin/system_search.dll.
dll:
	scripts/setup
	scripts/build windows

demo test bench sanitize fuzz soak lint package windows-kit docs coverage:
	scripts/$@

# make repeat N=50
repeat:
	scripts/repeat $(N)

picture:
	scripts/picture
	scripts/picture-window

format:
	scripts/setup lint
	git ls-files '*.c' '*.h' '*.cpp' '*.hpp' | xargs clang-format-19 -i

.PHONY: dll demo test bench sanitize fuzz soak lint format package windows-kit docs picture coverage repeat
