"""What the documents claim: each function returns the faults that it finds, one text each."""
import pathlib
import re
import sys

FENCE = re.compile(r"^```(.*)$")
LINK = re.compile(r"!?\[[^\]]*\]\(([^)\s]+)\)")
HEADING = re.compile(r"^#{1,6}\s+(.*?)\s*$")
OUTSIDE = ("http://", "https://", "mailto:")


def split(text: str) -> tuple[str, list[tuple[str, str]]]:
    """A page without its fenced blocks, and the blocks with the words of their fences."""
    prose, blocks, fence, block = [], [], None, []
    for line in text.splitlines():
        match = FENCE.match(line)
        if match and fence is None:
            fence, block = match.group(1), []
        elif match:
            blocks.append((fence, "".join(part + "\n" for part in block)))
            fence = None
        elif fence is not None:
            block.append(line)
        else:
            prose.append(line)
    if fence is not None:
        blocks.append((fence + " (never closed)", ""))
    return "\n".join(prose), blocks


def anchors(text: str) -> set[str]:
    """The anchors of the headings, as they are made for a rendered page."""
    found: set[str] = set()
    for line in split(text)[0].splitlines():
        match = HEADING.match(line)
        if match:
            words = re.sub(r"[^\w\- ]", "", LINK.sub("", match.group(1)).lower()).replace(" ", "-")
            found.add(words if words not in found else f"{words}-{sum(a.startswith(words) for a in found)}")
    return found


def broken_links(page: pathlib.Path, root: pathlib.Path) -> list[str]:
    prose = re.sub(r"`[^`\n]*`", "", split(page.read_text(encoding="utf-8"))[0])
    faults = []
    for target in LINK.findall(prose):
        if target.startswith(OUTSIDE):
            continue
        path, _, anchor = target.partition("#")
        file = (page.parent / path).resolve() if path else page
        if not file.is_relative_to(root) or not file.exists():
            faults.append(f"{page.name}: {target} leads nowhere")
        elif anchor and (file.suffix != ".md" or anchor not in anchors(file.read_text(encoding="utf-8"))):
            faults.append(f"{page.name}: {target} has no such heading")
    return faults


def region_of(source: str, region: str) -> str | None:
    """The lines between `// [region]` and `// [/region]`; none when one of the marks is missing."""
    match = re.search(rf"^// \[{re.escape(region)}\]\n(.*?)^// \[/{re.escape(region)}\]$", source, re.S | re.M)
    return match.group(1) if match else None


def wrong_snippets(page: pathlib.Path, folder: pathlib.Path) -> list[str]:
    """Fenced blocks that name a file, and a region of it, are that text to the letter."""
    faults = []
    for fence, text in split(page.read_text(encoding="utf-8"))[1]:
        words = dict(word.split("=", 1) for word in fence.split()[1:] if "=" in word)
        if "never closed" in fence:
            faults.append(f"{page.name}: the block {fence}")
        if "file" not in words:
            continue
        file = folder / words["file"]
        source = file.read_text(encoding="utf-8") if file.is_file() else None
        expected = region_of(source, words["region"]) if source and "region" in words else source
        if expected != text:
            faults.append(f"{page.name}: the snippet {' '.join(words.values())} is not what stands there")
    return faults


def literals(code: str) -> str:
    """The string literals of source text, one a line; adjacent ones are one."""
    joined = re.sub(r'(?<!\\)"\s*\n\s*"', "", code)
    return "\n".join(re.findall(r'"((?:[^"\\\n]|\\.)*)"', joined)).replace('\\"', '"')


def unknown_texts(page_text: str, literals_of_code: str) -> list[str]:
    """Texts in double quotes that stand in no literal of the code."""
    prose = split(page_text)[0]
    return [text for text in re.findall(r'"([^"\n]+)"', prose) if text not in literals_of_code]


def missing(names: set[str], page_text: str) -> list[str]:
    """Names that do not stand in backticks on the page, as the first word in them."""
    shown = set(re.findall(r"`(?:\$\{)?([\w.]+)", page_text))
    return sorted(names - shown)


if __name__ == "__main__":
    # The pages of an installation.
    folder = pathlib.Path(sys.argv[1]).resolve()
    pages = list(folder.rglob("*.md"))
    sys.exit("\n".join(fault for page in pages for fault in broken_links(page, folder)) or None if len(pages) > 10 else f"no pages in {folder}")
