#!/bin/sh
# Makes the PDF fixtures of the document decoder tests:
#   two-pages.pdf        two pages with addresses in their text, one in the Author
#   two-pages-locked.pdf the same, encrypted with a user password ("secret")
#   two-pages-owner.pdf  the same, encrypted with an owner password only (opens without one)
set -eu
cd "$(dirname "$0")"

python3 - <<'PY'
pages = [
    "Page one: write to ann.lee@example.org today",
    "Page two: bob@example.net or +44 20 7946 0000",
]
objects = {
    1: "<< /Type /Catalog /Pages 2 0 R >>",
    2: "<< /Type /Pages /Kids [3 0 R 5 0 R] /Count 2 >>",
    7: "<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica >>",
    8: "<< /Author (Carol Diaz <carol@example.com>) /Title (Fixture) /Producer (make-fixtures.sh) >>",
}
for i, text in enumerate(pages):
    page, content = 3 + 2 * i, 4 + 2 * i
    stream = f"BT /F1 12 Tf 72 720 Td ({text}) Tj ET"
    objects[page] = (f"<< /Type /Page /Parent 2 0 R /MediaBox [0 0 612 792] "
                     f"/Resources << /Font << /F1 7 0 R >> >> /Contents {content} 0 R >>")
    objects[content] = f"<< /Length {len(stream)} >>\nstream\n{stream}\nendstream"
out = bytearray(b"%PDF-1.4\n")
offsets = {}
for number in sorted(objects):
    offsets[number] = len(out)
    out += f"{number} 0 obj\n{objects[number]}\nendobj\n".encode()
xref = len(out)
out += f"xref\n0 {max(objects) + 1}\n0000000000 65535 f \n".encode()
for number in range(1, max(objects) + 1):
    out += f"{offsets[number]:010d} 00000 n \n".encode()
out += (f"trailer\n<< /Size {max(objects) + 1} /Root 1 0 R /Info 8 0 R >>\n"
        f"startxref\n{xref}\n%%EOF\n").encode()
open("two-pages.pdf", "wb").write(out)
PY

qpdf --encrypt secret owner 256 -- two-pages.pdf two-pages-locked.pdf
qpdf --encrypt "" owner 256 -- two-pages.pdf two-pages-owner.pdf
