"""What the viewer has to show, plainly."""
import numpy


def cells(count, zoom, start, pixels):
    """For each screen pixel of an axis its first pixel, or -1; pixels a cell."""
    times, per = (round(zoom), 1) if zoom >= 1 else (1, round(1 / zoom))
    first = (round(start * times) + numpy.arange(count) * per) // times
    return numpy.where((first >= 0) & (first < pixels), first, -1), per


def blocks(pixels, zoom, x0, y0, size):
    """The part of a picture [y, x, channels] that a window of this size (width, height) shows; NaN is nothing."""
    height, width, channels = pixels.shape
    out = numpy.full((size[1], size[0], channels), numpy.nan)
    columns, per = cells(size[0], zoom, x0, width)
    rows, _ = cells(size[1], zoom, y0, height)
    seen = columns >= 0
    for sy, y in enumerate(rows):
        if y < 0:
            continue
        sums = pixels[y : y + per].astype(float).sum(axis=0)
        edges = numpy.concatenate([columns[seen], [min(columns[seen][-1] + per, width)]])
        if per == 1:
            out[sy, seen] = sums[columns[seen]]
        else:
            counts = numpy.diff(edges)[:, None] * pixels[y : y + per].shape[0]
            out[sy, seen] = numpy.add.reduceat(sums[: edges[-1]], columns[seen]) / counts
    return out


def developed(values, black, white):
    """Levels, as 0 to 255 of three channels; what is nothing is 0."""
    grey = numpy.clip(numpy.floor((values - black) * 255 / (white - black) + 0.5), 0, 255)
    grey = numpy.nan_to_num(grey).astype(int)
    return numpy.repeat(grey, 3, axis=2) if grey.shape[2] == 1 else grey


def shown(pixels, state, size):
    picture = pixels if pixels.ndim == 3 else pixels[:, :, None]
    return developed(blocks(picture, state["zoom"], state["x0"], state["y0"], size), state["black"], state["white"])
