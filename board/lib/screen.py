"""What the screen shows, pixel by pixel."""

WIDTH, HEIGHT = 800, 480


class Screen:
    """One picture of the screen."""

    def __init__(self, file):
        with open(file, "rb") as picture:
            header = picture.readline() + picture.readline() + picture.readline()
            self.width, self.height = map(int, header.split()[1:3])
            self.pixels = picture.read()

    def at(self, x, y):
        offset = 3 * (y * self.width + x)
        return tuple(self.pixels[offset : offset + 3])

    def is_near(self, x, y, colour, tolerance=8):
        return all(abs(a - b) <= tolerance for a, b in zip(self.at(x, y), colour))

    def share_of(self, colour, x, y, width, height):
        """How much of a rectangle has the colour, 0 to 1."""
        hits = sum(
            self.is_near(column, line, colour)
            for line in range(y, y + height, 2)
            for column in range(x, x + width, 2)
        )
        return hits / (((height + 1) // 2) * ((width + 1) // 2))
