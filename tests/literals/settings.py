"""Regional settings, and their texts of dates and numbers."""

import dataclasses
import datetime
import re


@dataclasses.dataclass(frozen=True)
class Region:
    """Regional settings of a user. `order` is that of the short date, `clock` 12 or 24 hours."""
    name: str
    short_date: str
    time: str
    morning: str
    afternoon: str
    decimal: str
    order: str

    def registry(self):
        values = {"sShortDate": self.short_date, "sTimeFormat": self.time, "s1159": self.morning,
                  "s2359": self.afternoon, "sDecimal": self.decimal}
        lines = "".join(f'"{name}"="{value}"\r\n' for name, value in values.items())
        return ("Windows Registry Editor Version 5.00\r\n\r\n"
                f"[HKEY_CURRENT_USER\\Control Panel\\International]\r\n{lines}")

    def text(self, moment):
        """A moment as users read it; midnight is a day alone."""
        values = {"M": str(moment.month), "d": str(moment.day), "dd": f"{moment:%d}", "MM": f"{moment:%m}",
                  "yy": f"{moment:%y}", "yyyy": f"{moment:%Y}", "HH": f"{moment:%H}", "H": str(moment.hour),
                  "h": str((moment.hour - 1) % 12 + 1), "mm": f"{moment:%M}", "ss": f"{moment:%S}",
                  "tt": self.morning if moment.hour < 12 else self.afternoon}
        picture = self.short_date if moment.time() == datetime.time() else f"{self.short_date} {self.time}"
        return re.sub("[A-Za-z]+", lambda part: values[part[0]], picture)

    @property
    def has_two_digit_years(self):
        return "yyyy" not in self.short_date

    @property
    def has_foreign_markers(self):
        return "tt" in self.time and self.afternoon != "PM"


UNITED_STATES = Region("United States", "M/d/yyyy", "h:mm:ss tt", "AM", "PM", ".", "MDY")
TWO_DIGITS = Region("United States, years of two digits", "M/d/yy", "h:mm:ss tt", "AM", "PM", ".", "MDY")
UNITED_KINGDOM = Region("United Kingdom", "dd/MM/yyyy", "HH:mm:ss", "", "", ".", "DMY")
GERMANY = Region("Germany", "dd.MM.yyyy", "HH:mm:ss", "", "", ",", "DMY")
JAPAN = Region("Japan", "yyyy/MM/dd", "H:mm:ss", "午前", "午後", ".", "YMD")
JAPAN_TWELVE_HOURS = Region("Japan, clock of twelve hours", "yyyy/MM/dd", "tt h:mm:ss", "午前", "午後", ".", "YMD")
