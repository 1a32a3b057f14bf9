#!/usr/bin/env python3
"""Checks that every registered built-in is documented with each of its arities.

Usage: check_reference.py LIST_BUILTINS DOCS_DIR

LIST_BUILTINS prints "group name arity" lines. A built-in of arity n is documented
when a code span `name(...)` with n arguments occurs on its group's pages; optional
arguments in brackets count both ways (`read([f,] n)` covers 1 and 2), and a span
holding "…" documents a variadic built-in. The library's groups are documented
under reference/, graphics in graphics.md, native and automation calls in external.md.
Each built-in must also be called in at least one checked example somewhere in the docs
(a ```marl block with its ```output, or a ```console block).
"""
import pathlib
import re
import subprocess
import sys

PAGES = {"graphics": ["graphics.md"], "native": ["external.md"], "com": ["external.md"]}
SPAN = re.compile(r"`([A-Za-z_][A-Za-z0-9_]*)\((.*?)\)`")


def split_args(text):
    """The arguments of a call form, as a list of strings; quotes and nesting respected."""
    args, depth, quote, cur = [], 0, None, ""
    i = 0
    while i < len(text):
        c = text[i]
        if quote:
            cur += c
            if c == "\\" and i + 1 < len(text):
                cur += text[i + 1]
                i += 1
            elif c == quote:
                quote = None
        elif c in "\"'":
            quote = c
            cur += c
        elif c in "([{":
            depth += 1
            cur += c
        elif c in ")]}":
            depth -= 1
            cur += c
        elif c == "," and depth == 0:
            args.append(cur)
            cur = ""
        else:
            cur += c
        i += 1
    if cur.strip() or args:
        args.append(cur)
    return args


def arities(text):
    """Every argument count a call form's text stands for."""
    if "…" in text or "..." in text:
        return {-1}
    # Optional parts: "[, n]" or "[f,] n"; each may be present or not (nested ones too).
    forms = {text}
    while True:
        expanded = set()
        changed = False
        for f in forms:
            # "[, n]", "[f,]", or "[f]" as the whole list; "[1, 2]" is an array literal.
            m = re.search(r"\[(\s*,[^\[\]]*|[^\[\]]*,\s*)\]|^\[(\w+)\]$", f)
            if m:
                changed = True
                expanded.add(f[: m.start()] + (m.group(1) or m.group(2)) + f[m.end() :])
                expanded.add(f[: m.start()] + f[m.end() :])
            else:
                expanded.add(f)
        forms = expanded
        if not changed:
            break
    return {len([a for a in split_args(f) if a.strip()]) for f in forms}


def checked_examples(docs):
    """The text of every example block whose output the doc tests compare."""
    text = []
    for page in sorted(docs.rglob("*.md")):
        blocks, kind, body, pending = [], None, [], None
        for line in page.read_text(encoding="utf-8").split("\n"):
            if line.startswith("```"):
                if kind is None:
                    kind, body = line[3:].strip(), []
                    continue
                if kind == "console" or (kind == "output" and pending is not None):
                    text.append(pending if kind == "output" else "\n".join(body))
                pending = "\n".join(body) if kind == "marl" else None
                kind = None
            elif kind is not None:
                body.append(line)
            elif line.strip() and not line.strip().startswith("<!--"):
                pending = None
    return "\n".join(text)


def main():
    listing, docs = sys.argv[1], pathlib.Path(sys.argv[2])
    entries = [line.split() for line in subprocess.check_output([listing], text=True).splitlines()]
    documented = {}  # page set -> {name: set of arities}
    missing = []
    for group, name, arity in entries:
        pages = PAGES.get(group)
        paths = [docs / p for p in pages] if pages else sorted((docs / "reference").glob("*.md"))
        key = tuple(paths)
        if key not in documented:
            found = {}
            for p in paths:
                for m in SPAN.finditer(p.read_text(encoding="utf-8")):
                    found.setdefault(m.group(1), set()).update(arities(m.group(2)))
            documented[key] = found
        if int(arity) not in documented[key].get(name, set()):
            where = ", ".join(str(p.relative_to(docs)) for p in paths) if pages else "reference/"
            missing.append(f"{name}() with {arity} argument(s) ({group}) is not in {where}")
    examples = checked_examples(docs)
    for name in sorted({name for _, name, _ in entries}):
        if not re.search(r"(?<![\w.])(" + re.escape(name) + r"\(|&" + re.escape(name) + r"\b)", examples):
            missing.append(f"{name}() is called in no checked example")
    for m in missing:
        print(m)
    print(f"{len(entries)} built-in variants, {len(missing)} problems")
    return 1 if missing else 0


if __name__ == "__main__":
    sys.exit(main())
