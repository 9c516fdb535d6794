"""What the viewer has to show, slowly and plainly."""
import numpy


def blocks(pixels, zoom, x0, y0, size):
    """The part of a picture [y, x, channels] that a window of this size (width, height) shows; NaN is nothing."""
    times, per = (round(zoom), 1) if zoom >= 1 else (1, round(1 / zoom))
    height, width, channels = pixels.shape
    out = numpy.full((size[1], size[0], channels), numpy.nan)
    left, top = round(x0 * times), round(y0 * times)
    for sy in range(size[1]):
        y = (top + sy * per) // times
        if not 0 <= y < height:
            continue
        rows = pixels[y : y + per]
        for sx in range(size[0]):
            x = (left + sx * per) // times
            if 0 <= x < width:
                cell = rows[:, x : x + per].astype(float)
                out[sy, sx] = cell.sum(axis=(0, 1)) / (cell.shape[0] * cell.shape[1])
    return out


def developed(values, black, white):
    """Levels, as 0 to 255 of three channels; what is nothing is 0."""
    grey = numpy.clip(numpy.floor((values - black) * 255 / (white - black) + 0.5), 0, 255)
    grey = numpy.nan_to_num(grey).astype(int)
    return numpy.repeat(grey, 3, axis=2) if grey.shape[2] == 1 else grey


def shown(pixels, state, size):
    picture = pixels if pixels.ndim == 3 else pixels[:, :, None]
    return developed(blocks(picture, state["zoom"], state["x0"], state["y0"], size), state["black"], state["white"])
