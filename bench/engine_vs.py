# The peers' side of engine_vs.sh: makes the picture, or times each operation
# in process with Pillow, OpenCV and libvips (their own arithmetic) and prints
# "row<TAB>peer<TAB>milliseconds" lines, the least of several runs.
import sys, time, io
import numpy as np

def picture(path, w=4000, h=3000):
    import cv2
    y, x = np.mgrid[0:h, 0:w].astype(np.float32)
    rng = np.random.default_rng(1)
    grain = rng.normal(0, 6, (h, w, 3)).astype(np.float32)
    r = 128 + 100 * np.sin(x / 310 + y / 530) + 20 * np.sin(x / 23) * np.cos(y / 37)
    g = 120 + 90 * np.cos(x / 450 - y / 270)
    b = np.where(((x // 400 + y // 300) % 2) == 0, 200.0, 60.0) + 30 * np.sin((x + y) / 90)
    img = np.stack([b, g, r], axis=2) + grain
    cv2.imwrite(path, np.clip(img, 0, 255).astype(np.uint8))

def best(fn, runs):
    t = []
    for _ in range(runs):
        t0 = time.perf_counter(); fn(); t.append(time.perf_counter() - t0)
    return min(t) * 1000

def peers(path, runs):
    import cv2
    from PIL import Image, ImageFilter, ImageOps
    bgr = cv2.imread(path)
    pil = Image.open(path).convert("RGB"); pil.load()
    out = []
    def row(name, peer, fn):
        try:
            out.append((name, peer, best(fn, runs)))
        except Exception as e:  # a peer without the operation leaves the cell empty
            print(f"# {name} {peer}: {e}", file=sys.stderr)
    emb = np.array([[-1, -1, 0], [-1, 0, 1], [0, 1, 1]], np.float32)
    shp = np.array([[-1, -1, -1], [-1, 9, -1], [-1, -1, -1]], np.float32)
    row("Emboss 3x3", "OpenCV", lambda: cv2.filter2D(bgr, -1, emb))
    row("Emboss 3x3", "Pillow", lambda: pil.filter(ImageFilter.EMBOSS))
    row("Sharpen 3x3", "OpenCV", lambda: cv2.filter2D(bgr, -1, shp))
    row("Sharpen 3x3", "Pillow", lambda: pil.filter(ImageFilter.SHARPEN))
    palimg = Image.new("P", (1, 1))
    palimg.putpalette([(i >> 5) * 36 for i in range(256) for _ in (0,)][:0] +
                      sum([[((i >> 5) & 7) * 36, ((i >> 2) & 7) * 36, (i & 3) * 85] for i in range(256)], []))
    row("Remap to a fixed 256-colour palette", "Pillow", lambda: pil.quantize(palette=palimg, dither=Image.Dither.NONE))
    row("Add Noise", "OpenCV", lambda: cv2.add(bgr, cv2.randn(np.empty_like(bgr), 0, 16)))
    row("Invert", "OpenCV", lambda: cv2.bitwise_not(bgr))
    row("Invert", "Pillow", lambda: ImageOps.invert(pil))
    row("Unsharp Mask", "OpenCV", lambda: cv2.addWeighted(bgr, 1.4, cv2.GaussianBlur(bgr, (0, 0), 5), -0.4, 0))
    row("Unsharp Mask", "Pillow", lambda: pil.filter(ImageFilter.UnsharpMask(4, 40, 1)))
    row("Greyscale", "OpenCV", lambda: cv2.cvtColor(bgr, cv2.COLOR_BGR2GRAY))
    row("Greyscale", "Pillow", lambda: pil.convert("L"))
    def rot():
        h, w = bgr.shape[:2]
        m = cv2.getRotationMatrix2D((w / 2, h / 2), 17, 1)
        c, s = abs(m[0, 0]), abs(m[0, 1])
        nw, nh = int(h * s + w * c), int(h * c + w * s)
        m[0, 2] += nw / 2 - w / 2; m[1, 2] += nh / 2 - h / 2
        cv2.warpAffine(bgr, m, (nw, nh), flags=cv2.INTER_LINEAR)
    row("Rotate 17 bilinear", "OpenCV", rot)
    row("Rotate 17 bilinear", "Pillow", lambda: pil.rotate(17, Image.Resampling.BILINEAR, expand=True))
    sol = np.array([255 - i if i >= 128 else i for i in range(256)], np.uint8)
    row("Solarize", "OpenCV", lambda: cv2.LUT(bgr, sol))
    row("Solarize", "Pillow", lambda: ImageOps.solarize(pil, 128))
    cb = np.clip(np.arange(256) * 1.1 + 5, 0, 255).astype(np.uint8)
    row("Contrast and Brightness", "OpenCV", lambda: cv2.LUT(bgr, cb))
    row("Contrast and Brightness", "Pillow", lambda: pil.point(list(cb) * 3))
    row("Mono, error diffusion", "Pillow", lambda: pil.convert("1"))
    row("Resize 50 %", "OpenCV", lambda: cv2.resize(bgr, (2000, 1500), interpolation=cv2.INTER_AREA))
    row("Resize 50 %", "Pillow", lambda: pil.reduce(2))
    row("Resize 173 %", "OpenCV", lambda: cv2.resize(bgr, (6920, 5190), interpolation=cv2.INTER_LINEAR))
    row("Resize 173 %", "Pillow", lambda: pil.resize((6920, 5190), Image.Resampling.BILINEAR))
    row("Gaussian Blur sigma 5", "OpenCV", lambda: cv2.GaussianBlur(bgr, (0, 0), 5))
    row("Gaussian Blur sigma 5", "Pillow", lambda: pil.filter(ImageFilter.GaussianBlur(5)))
    row("Quantize 256 + error diffusion", "Pillow", lambda: pil.quantize(256, dither=Image.Dither.FLOYDSTEINBERG))
    row("Quantize 256 remapped", "Pillow", lambda: pil.quantize(256, dither=Image.Dither.NONE))
    row("TGA encode", "Pillow", lambda: pil.save(io.BytesIO(), "TGA"))
    row("PNG encode (zlib 6)", "OpenCV", lambda: cv2.imencode(".png", bgr, [cv2.IMWRITE_PNG_COMPRESSION, 6]))
    row("PNG encode (zlib 6)", "Pillow", lambda: pil.save(io.BytesIO(), "PNG", compress_level=6))
    row("BMP decode", "OpenCV", lambda: cv2.imread(path))
    row("BMP decode", "Pillow", lambda: Image.open(path).load())
    out += vips_rows(path, runs)
    for name, peer, ms in out:
        print(f"{name}\t{peer}\t{ms:.1f}")

def vips_rows(path, runs):
    # libvips through its introspection binding, in process like the others.
    # Its operations are lazy: each is timed with the pixels written to memory,
    # less that same write of a plain copy ("(vips copy)" row).
    try:
        import gi
        gi.require_version("Vips", "8.0")
        from gi.repository import Vips, GObject
    except (ImportError, ValueError) as e:
        print(f"# vips in process: {e}", file=sys.stderr)
        return []
    Vips.init("engine_vs")
    Vips.cache_set_max(0)
    from PIL import Image
    pil = Image.open(path).convert("RGB")
    img = Vips.Image.new_from_memory_copy(pil.tobytes(), pil.width, pil.height, 3, Vips.BandFormat.UCHAR)
    def run(name, **props):
        op = Vips.Operation.new(name)
        GObject.Object.set_property(op, "in", img)
        for k, v in props.items():
            GObject.Object.set_property(op, k, v)
        built = Vips.cache_operation_build(op)
        result = GObject.Object.get_property(built, "out")
        built.unref_outputs()
        result.write_to_memory()
    run("copy")  # the first run also sets up vips's own buffers and threads
    copy = best(lambda: run("copy"), runs)
    rows = []
    matrix = lambda m: Vips.Image.new_matrix_from_array(3, 3, [float(v) for v in m])
    emb, shp = matrix([-1, -1, 0, -1, 0, 1, 0, 1, 1]), matrix([-1, -1, -1, -1, 9, -1, -1, -1, -1])
    for name, op, props in [
            ("Emboss 3x3", "conv", {"mask": emb, "precision": Vips.Precision.INTEGER}),
            ("Sharpen 3x3", "conv", {"mask": shp, "precision": Vips.Precision.INTEGER}),
            ("Invert", "invert", {}),
            ("Unsharp Mask", "sharpen", {}),
            ("Greyscale", "colourspace", {"space": Vips.Interpretation.B_W}),
            ("Rotate 17 bilinear", "rotate", {"angle": 17.0}),
            ("Contrast and Brightness", "linear",
             {"a": Vips.ArrayDouble.new([1.1]), "b": Vips.ArrayDouble.new([5.0]), "uchar": True}),
            ("Resize 50 %", "resize", {"scale": 0.5}),
            ("Resize 173 %", "resize", {"scale": 1.73}),
            ("Gaussian Blur sigma 5", "gaussblur", {"sigma": 5.0})]:
        try:
            t = best(lambda: run(op, **props), runs)
        except Exception as e:
            print(f"# {name} vips: {e}", file=sys.stderr)
            continue
        rows.append((name, t))
    # The copy again at the end, its least of both: the same conditions as the
    # operations had.
    copy = min(copy, best(lambda: run("copy"), runs))
    # At or below zero an operation is lost in the noise of the copy.
    return [("(vips copy)", "vips", copy)] + [(n, "vips", t - copy) for n, t in rows if t - copy > 0]

if __name__ == "__main__":
    if sys.argv[1] == "picture":
        picture(sys.argv[2])
    else:
        peers(sys.argv[2], int(sys.argv[3]))
