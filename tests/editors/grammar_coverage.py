#!/usr/bin/env python3
"""Runs the TextMate grammar over the example scripts with a small matcher and
checks that every token class of the grammar occurs in them, and that the Vim
syntax file knows the same keywords.

Usage: grammar_coverage.py SOURCE_DIR

The matcher handles what the grammar uses: `match` rules (with captures),
`begin`/`end` rules that may span lines (with inner patterns), and `include`
of repository entries. At each position the rule whose match starts first
wins; on a tie the earlier rule does, as in TextMate.
"""
import glob
import json
import os
import re
import sys


def flatten(patterns, repo):
    out = []
    for p in patterns:
        if "include" in p:
            out.extend(flatten(repo[p["include"][1:]]["patterns"], repo))
        else:
            out.append(p)
    return out


def compile_rules(rules):
    for r in rules:
        for key in ("match", "begin", "end"):
            if key in r and not isinstance(r.get("_" + key), re.Pattern):
                r["_" + key] = re.compile(r[key])
        if "patterns" in r:
            compile_rules(r["patterns"])


def tokenize(lines, rules, seen, where):
    """Marks the scope names found in `lines`; returns the number of tokens."""
    count = 0
    open_rule = None  # a begin/end rule still open at the end of a line
    for number, line in enumerate(lines, 1):
        pos = 0
        while pos <= len(line):
            if open_rule is not None:
                end = open_rule["_end"].search(line, pos)
                inner = open_rule.get("patterns", [])
                stop = end.start() if end else len(line)
                # Inner patterns (escapes) up to the end of the region.
                i = pos
                while i < stop:
                    best = None
                    for r in inner:
                        m = r["_match"].search(line, i, stop)
                        if m and (best is None or m.start() < best[1].start()):
                            best = (r, m)
                    if not best:
                        break
                    seen.add(best[0]["name"])
                    i = max(best[1].end(), i + 1)
                if not end:
                    break
                pos = end.end()
                open_rule = None
                continue
            best = None
            for r in rules:
                pat = r.get("_match") or r.get("_begin")
                m = pat.search(line, pos)
                if m and (best is None or m.start() < best[1].start()):
                    best = (r, m)
            if not best:
                break
            r, m = best
            count += 1
            seen.add(r["name"])
            for group, cap in r.get("captures", {}).items():
                if m.group(int(group)) is not None:
                    seen.add(cap["name"])
            if "_begin" in r:
                open_rule = r
            if m.end() == m.start() and "_begin" not in r:
                pos = m.end() + 1
            else:
                pos = m.end()
    if open_rule is not None:
        sys.exit(f"{where}: {open_rule['name']} is never closed")
    return count


def all_names(rules, names):
    for r in rules:
        names.add(r["name"])
        for cap in r.get("captures", {}).values():
            names.add(cap["name"])
        all_names(r.get("patterns", []), names)


def main():
    root = sys.argv[1]
    grammar = json.load(open(os.path.join(root, "editors/textmate/marl.tmLanguage.json")))
    rules = flatten(grammar["patterns"], grammar["repository"])
    compile_rules(rules)
    declared = set()
    all_names(rules, declared)

    seen = set()
    scripts = sorted(glob.glob(os.path.join(root, "docs/examples/*.mr")))
    if not scripts:
        sys.exit("no example scripts found")
    for path in scripts:
        text = open(path, encoding="latin-1").read()
        if tokenize(text.split("\n"), rules, seen, path) == 0:
            sys.exit(f"{path}: no tokens recognised")
    failures = []
    missing = sorted(declared - seen)
    if missing:
        failures.append("token classes no example shows: " + ", ".join(missing))

    # Vim and TextMate agree on the keywords.
    vim = open(os.path.join(root, "editors/vim/syntax/marl.vim")).read()
    vim_words = set()
    for group in ("marlKeyword", "marlConditional", "marlRepeat", "marlException"):
        for m in re.finditer(r"^syn keyword " + group + r" (.*)$", vim, re.M):
            vim_words.update(m.group(1).split())
    tm_words = set()
    for r in rules:
        if r["name"] in ("keyword.control.marl", "storage.type.marl"):
            tm_words.update(re.findall(r"[a-z]+", r["match"].replace("\\b", " ").replace("?:", " ")))
    if vim_words != tm_words:
        failures.append(f"keywords differ: vim only {sorted(vim_words - tm_words)}, "
                        f"TextMate only {sorted(tm_words - vim_words)}")
    for f in failures:
        print(f)
    print(f"{len(scripts)} scripts, {len(seen & declared)} of {len(declared)} token classes seen")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
