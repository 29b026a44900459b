"""Small plots as SVG text, readable on light and dark pages."""
import html

FONT = 'font-family="sans-serif" font-size="13"'
COLOURS = ("#2f7ed8", "#e8830c", "#4f9d4f", "#b04fb0", "#8a6d3b")
LABEL_WIDTH, BAR_HEIGHT, GAP = 210, 16, 5


def _text(x, y, text, anchor="start", weight="normal"):
    return (f'<text x="{x:.0f}" y="{y:.0f}" text-anchor="{anchor}" font-weight="{weight}" fill="#777" {FONT}>'
            f"{html.escape(text)}</text>")


def bars(title, unit, groups, series, width=820):
    """Horizontal bars: groups is [(label, [(value, far value or None), ...])], with one pair for each name in series.
    The far value, such as a 95th percentile, is drawn as a thin line beyond the bar."""
    most = max(far or value for _, pairs in groups for value, far in pairs)
    scale = (width - LABEL_WIDTH - 120) / most
    parts, y = [_text(8, 20, title, weight="bold")], 34
    for number, name in enumerate(series):
        x = 8 + number * min(250, (width - 8) // len(series))
        parts.append(f'<rect x="{x}" y="{y}" width="12" height="12" fill="{COLOURS[number]}"/>')
        parts.append(_text(x + 18, y + 11, name))
    y += 30
    for label, pairs in groups:
        middle = y + len(pairs) * (BAR_HEIGHT + GAP) / 2
        parts.append(_text(LABEL_WIDTH - 8, middle + 2, label, "end"))
        for number, (value, far) in enumerate(pairs):
            length = value * scale
            parts.append(f'<rect x="{LABEL_WIDTH}" y="{y}" width="{length:.1f}" height="{BAR_HEIGHT}" '
                         f'fill="{COLOURS[number]}"/>')
            end, note = length, f"{value:.4g} {unit}"
            if far:
                end = far * scale
                parts.append(f'<line x1="{LABEL_WIDTH + length:.1f}" y1="{y + BAR_HEIGHT / 2}" '
                             f'x2="{LABEL_WIDTH + end:.1f}" y2="{y + BAR_HEIGHT / 2}" stroke="{COLOURS[number]}" '
                             'stroke-width="3"/>')
                note += f" ({far:.4g})"
            parts.append(_text(LABEL_WIDTH + end + 6, y + 13, note))
            y += BAR_HEIGHT + GAP
        y += 12
    return (f'<svg xmlns="http://www.w3.org/2000/svg" width="{width}" height="{y:.0f}" '
            f'viewBox="0 0 {width} {y:.0f}">\n' + "\n".join(parts) + "\n</svg>\n")
