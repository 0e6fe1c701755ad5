#!/usr/bin/python3
"""Files made and read by programs other than ours, for the file tests.

make VARIANT OUT EXPECTED.ppm   writes OUT in the variant and the pixels it
                                should decode to (alpha laid over white)
read FILE OUT.ppm               decodes one of our files with Pillow
"""
import io, struct, subprocess, sys
from PIL import Image

W, H = 37, 23


def source():
    im = Image.new("RGB", (W, H))
    px = im.load()
    for y in range(H):
        for x in range(W):
            px[x, y] = ((x * 7) & 255, (y * 11) & 255, ((x ^ y) * 13) & 255)
    return im


def smooth():
    im = Image.new("RGB", (W, H))
    px = im.load()
    for y in range(H):
        for x in range(W):
            px[x, y] = (x * 255 // (W - 1), y * 255 // (H - 1), (x + y) * 255 // (W + H - 2))
    return im


def with_alpha():
    im = source().convert("RGBA")
    px = im.load()
    for y in range(H):
        for x in range(W):
            r, g, b, _ = px[x, y]
            px[x, y] = (r, g, b, (x * 255 // (W - 1)) if y % 3 else 255)
    return im


def over_white(im):
    """Our rule: (c * a + 255 * (255 - a) + 127) / 255 per channel."""
    im = im.convert("RGBA")
    out = Image.new("RGB", im.size)
    src, dst = im.load(), out.load()
    for y in range(im.size[1]):
        for x in range(im.size[0]):
            r, g, b, a = src[x, y]
            dst[x, y] = tuple((c * a + 255 * (255 - a) + 127) // 255 for c in (r, g, b))
    return out


def palette_image(colours):
    return source().quantize(colours, dither=Image.Dither.NONE)


def magick(src, out, *opts):
    buf = io.BytesIO()
    src.save(buf, "PNG")
    subprocess.run(["convert", "png:-", *opts, out], input=buf.getvalue(), check=True)


def expected_of(path):
    im = Image.open(path)
    im.load()
    if im.mode in ("I", "I;16", "I;16B"):
        # 16-bit grey: the high byte, as an 8-bit reader keeps it.
        return im.convert("I").point(lambda v: v * (1 / 256)).convert("L").convert("RGB")
    if im.mode in ("RGBA", "LA", "PA") or "transparency" in im.info:
        return over_white(im.convert("RGBA"))
    return im.convert("RGB")


def flip_bmp_top_down(path):
    data = bytearray(open(path, "rb").read())
    off = struct.unpack_from("<I", data, 10)[0]
    w, h = struct.unpack_from("<ii", data, 18)
    bits = struct.unpack_from("<H", data, 28)[0]
    stride = ((w * bits + 31) // 32) * 4
    rows = [data[off + i * stride: off + (i + 1) * stride] for i in range(h)]
    data[off:off + h * stride] = b"".join(reversed(rows))
    struct.pack_into("<i", data, 22, -h)
    open(path, "wb").write(data)


def tga16(path, top):
    im = source()
    px = im.load()
    head = struct.pack("<BBBHHBHHHHBB", 0, 0, 2, 0, 0, 0, 0, 0, W, H, 16, 0x20 if top else 0)
    rows = range(H) if top else range(H - 1, -1, -1)
    body = bytearray()
    for y in rows:
        for x in range(W):
            r, g, b = px[x, y]
            body += struct.pack("<H", ((r >> 3) << 10) | ((g >> 3) << 5) | (b >> 3))
    open(path, "wb").write(head + body)


def pcx_planar(path):
    """16 colours as four planes of one bit, run-length coded."""
    im = palette_image(16)
    px, pal = im.load(), im.getpalette()[:48]
    pal += [0] * (48 - len(pal))
    bpl = ((W + 7) // 8 + 1) & ~1
    head = struct.pack("<BBBBHHHHHH", 10, 5, 1, 1, 0, 0, W - 1, H - 1, 72, 72) + bytes(pal) + bytes([0, 4]) + struct.pack("<HH", bpl, 1)
    head += bytes(128 - len(head))
    body = bytearray()
    for y in range(H):
        line = bytearray(bpl * 4)
        for x in range(W):
            for k in range(4):
                if (px[x, y] >> k) & 1:
                    line[k * bpl + x // 8] |= 0x80 >> (x % 8)
        i = 0
        while i < len(line):
            run = 1
            while i + run < len(line) and run < 63 and line[i + run] == line[i] and (i + run) % bpl:
                run += 1
            if run > 1 or line[i] >= 0xC0:
                body.append(0xC0 | run)
            body.append(line[i])
            i += run
    open(path, "wb").write(head + body)
    # Pillow 9.4 takes the planes in the wrong order; the source is the truth.
    global HANDMADE
    HANDMADE = im.convert("RGB")


def bmp_rle4(path):
    """RLE4 with repeat runs of two colours, absolute groups and end-of-line codes."""
    im = palette_image(16)
    px, pal = im.load(), im.getpalette()[:48]
    pal += [0] * (48 - len(pal))
    body = bytearray()
    for y in range(H - 1, -1, -1):
        row = [px[x, y] for x in range(W)]
        x = 0
        while x < W:
            if x + 4 <= W and row[x] == row[x + 2] and row[x + 1] == row[x + 3]:
                n = 4
                while x + n < W and n < 255 and row[x + n] == row[x + (n & 1)]:
                    n += 1
                body += bytes([n, (row[x] << 4) | row[x + 1]])
                x += n
            else:
                n = min(8, W - x)
                if n < 3:
                    for k in range(n):
                        body += bytes([1, row[x + k] << 4])
                else:
                    grp = bytearray()
                    for k in range(0, n, 2):
                        grp.append((row[x + k] << 4) | (row[x + k + 1] if k + 1 < n else 0))
                    if len(grp) % 2:
                        grp.append(0)
                    body += bytes([0, n]) + grp
                x += n
        body += bytes([0, 0])
    body += bytes([0, 1])
    palbytes = b"".join(bytes([pal[3 * i + 2], pal[3 * i + 1], pal[3 * i], 0]) for i in range(16))
    info = struct.pack("<IiiHHIIiiII", 40, W, H, 1, 4, 2, len(body), 2835, 2835, 16, 0)
    off = 14 + 40 + 64
    open(path, "wb").write(b"BM" + struct.pack("<IHHI", off + len(body), 0, 0, off) + info + palbytes + body)
    global HANDMADE
    HANDMADE = im.convert("RGB")


HANDMADE = None


def make(variant, out):
    src = source()
    if variant == "bmp1": src.convert("1").save(out)
    elif variant == "bmp4": magick(palette_image(16).convert("RGB"), "bmp3:" + out, "-colors", "16", "-type", "Palette")
    elif variant == "bmp4rle": bmp_rle4(out)
    elif variant == "bmp8": palette_image(200).save(out)
    elif variant == "bmp8rle": magick(palette_image(200).convert("RGB"), "bmp3:" + out, "-type", "Palette", "-compress", "RLE")
    elif variant == "bmp16": magick(src, "bmp:" + out, "-define", "bmp:subtype=RGB565")
    elif variant == "bmp24": src.save(out)
    elif variant == "bmp32": magick(with_alpha(), "bmp:" + out)
    elif variant == "bmpos2": magick(src, "bmp2:" + out)
    elif variant == "bmpgrey": src.convert("L").save(out)
    elif variant == "bmptopdown": src.save(out); flip_bmp_top_down(out)
    elif variant == "pcx1": src.convert("1").save(out)
    elif variant == "pcx4": pcx_planar(out)
    elif variant == "pcx8": palette_image(200).save(out)
    elif variant == "pcxgrey": src.convert("L").save(out)
    elif variant == "pcx24": src.save(out)
    elif variant == "tgamap": palette_image(200).save(out)
    elif variant == "tgamaprle": palette_image(200).save(out, compression="tga_rle")
    elif variant == "tgagrey": src.convert("L").save(out)
    elif variant == "tgagreyrle": src.convert("L").save(out, compression="tga_rle")
    elif variant == "tga24": src.save(out)
    elif variant == "tga24rle": src.save(out, compression="tga_rle")
    elif variant == "tga24top": src.save(out, orientation=1)
    elif variant == "tga24toprle": src.save(out, orientation=1, compression="tga_rle")
    elif variant == "tga32": with_alpha().save(out)
    elif variant == "tga16": tga16(out, False)
    elif variant == "tga16top": tga16(out, True)
    elif variant == "png1": src.convert("1").save(out)
    elif variant == "png2": palette_image(4).save(out, bits=2)
    elif variant == "png4": palette_image(16).save(out, bits=4)
    elif variant == "png8": palette_image(200).save(out)
    elif variant == "pngpaltrns":
        im = palette_image(16); im.info["transparency"] = bytes(range(0, 256, 16)); im.save(out, transparency=bytes(range(0, 256, 16)))
    elif variant == "pnggrey": src.convert("L").save(out)
    elif variant == "pnggrey16": magick(src.convert("L"), "png:" + out, "-depth", "16", "-define", "png:bit-depth=16", "-define", "png:color-type=0")
    elif variant == "pnggreytrns": src.convert("L").save(out, transparency=77)
    elif variant == "pngla": with_alpha().convert("LA").save(out)
    elif variant == "pngrgb": src.save(out)
    elif variant == "pngrgbtrns": src.save(out, transparency=(0, 0, 0))
    elif variant == "pngrgba": with_alpha().save(out)
    elif variant == "pngrgb16": magick(src, "png48:" + out)
    elif variant == "pngrgba16": magick(with_alpha(), "png64:" + out)
    elif variant == "pnginterlaced": magick(with_alpha(), "png:" + out, "-interlace", "PNG")
    elif variant == "pnginterlacedpal": magick(palette_image(16).convert("RGB"), "png8:" + out, "-interlace", "PNG")
    elif variant == "jpggrey": smooth().convert("L").save(out, quality=92)
    elif variant == "jpgrgb": smooth().save(out, quality=92)
    elif variant == "jpgprogressive": smooth().save(out, quality=92, progressive=True)
    elif variant == "jpgcmyk": smooth().convert("CMYK").save(out, quality=92)
    else: raise SystemExit("unknown variant " + variant)


def cmyk_expected(path):
    im = Image.open(path)
    im.load()
    out = Image.new("RGB", im.size)
    s, d = im.load(), out.load()
    for y in range(im.size[1]):
        for x in range(im.size[0]):
            c, m, yy, k = s[x, y]
            d[x, y] = tuple(((255 - v) * (255 - k) + 127) // 255 for v in (c, m, yy))
    return out


def main():
    if sys.argv[1] == "make":
        make(sys.argv[2], sys.argv[3])
        exp = cmyk_expected(sys.argv[3]) if sys.argv[2] == "jpgcmyk" else (HANDMADE or expected_of(sys.argv[3]))
        exp.save(sys.argv[4], "PPM")
    elif sys.argv[1] == "read":
        expected_of(sys.argv[2]).save(sys.argv[3], "PPM")


if __name__ == "__main__":
    main()
