/**
 * Images of any kind behind one face: pixels in memory, files, numbered series of files, and views over all
 * of them that are computed as they are read.
 *
 * <pre>{@code
 * try (Image file = Images.open(Paths.get("frame.tif"))) {
 *   Image view = file.converter(8).rotate(90);
 *   byte[] pixels = new byte[view.width() * view.height() * view.format().components()];
 *   view.read(view.area(), pixels);
 *   BufferedImage shown = file.toBufferedImage();
 * }
 * }</pre>
 *
 * <p><b>Closing.</b> {@link org.qvimage.Image} and {@link org.qvimage.Volume} own native memory, and what
 * they opened an open file: close them, best by {@code try}. A view keeps its source reachable but does not
 * close it; once the source is closed, the view throws {@link java.lang.IllegalStateException}. What was
 * forgotten is closed when it has become unreachable.
 *
 * <p><b>Failures.</b> What the library refuses or cannot read is an {@link org.qvimage.ImageException} with
 * the library's code, the file and the reason. Arguments that are wrong by themselves, such as a rectangle
 * outside the image or an array that is too short, are an {@link java.lang.IllegalArgumentException}.
 *
 * <p><b>Threads.</b> All objects may be used by any thread. An image and the views over it work one at a
 * time; images that were opened or made by themselves work at once.
 *
 * <p><b>Numbers.</b> Integers are unsigned and come in Java's types of the same size: an 8-bit pixel of 255
 * is {@code (byte) -1}. Significant bits are always at the low end.
 */
package org.qvimage;
