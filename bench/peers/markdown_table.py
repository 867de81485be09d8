"""The benches' tables in Markdown: numbers right-aligned, the last column left."""


def print_table(header, rows):
    widths = [max(len(line[i]) for line in [header] + rows) for i in range(len(header))]
    print("| " + " | ".join(h.ljust(w) for h, w in zip(header, widths)) + " |")
    print("| " + " | ".join("-" * (w - 1) + ":" if i < len(header) - 1 else "-" * w
                            for i, w in enumerate(widths)) + " |")
    for line in rows:
        print("| " + " | ".join(c.rjust(w) if i < len(line) - 1 else c.ljust(w)
                                for i, (c, w) in enumerate(zip(line, widths))) + " |")
