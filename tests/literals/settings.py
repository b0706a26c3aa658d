"""Regional settings, their texts of dates and numbers, and the values that a server's date order reads from these.

Written from the documentation of the settings alone; dates are datetimes, in whole seconds where they are texts.
"""

import dataclasses
import datetime
import re

ZERO_DAY = datetime.date(1899, 12, 30)
# A server reads a year of two digits into the hundred years that begin here.
CENTURY_OF_TWO_DIGITS = 1970


class Refused(Exception):
    """The database cannot read the literal."""


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
GERMANY = Region("Germany", "dd.MM.yyyy", "HH:mm:ss", "", "", ",", "DMY")
JAPAN = Region("Japan", "yyyy/MM/dd", "H:mm:ss", "午前", "午後", ".", "YMD")
JAPAN_TWELVE_HOURS = Region("Japan, clock of twelve hours", "yyyy/MM/dd", "tt h:mm:ss", "午前", "午後", ".", "YMD")

# Regional settings and the date order of the server's login.
PAIRS = [(UNITED_STATES, "MDY"), (UNITED_STATES, "DMY"), (UNITED_STATES, "YMD"), (TWO_DIGITS, "MDY"),
         (GERMANY, "DMY"), (GERMANY, "MDY"), (GERMANY, "YMD"),
         (JAPAN, "YMD"), (JAPAN, "MDY"), (JAPAN, "DMY"), (JAPAN_TWELVE_HOURS, "YMD")]


def whole_seconds(moment):
    return (moment + datetime.timedelta(milliseconds=500)).replace(microsecond=0)


def _read_day(day, region, server):
    if region.has_two_digit_years:
        year = CENTURY_OF_TWO_DIGITS + (day.year - CENTURY_OF_TWO_DIGITS) % 100
        try:
            day = day.replace(year=year)
        except ValueError:
            raise Refused from None
    if region.order in (server, "YMD"):
        return day
    if server == "YMD" or day.day > 12:
        raise Refused
    return day.replace(month=day.day, day=day.month)


def read_date(moment, region, server):
    """The date that a server reads from the literal of `moment`; None for the literal Null."""
    if moment is None or moment == datetime.datetime.combine(ZERO_DAY, datetime.time()):
        return None
    seconds = whole_seconds(moment)
    if seconds.date() == ZERO_DAY:
        raise Refused  # a time without a day
    if region.has_foreign_markers and moment.time() != datetime.time():
        raise Refused
    return datetime.datetime.combine(_read_day(seconds.date(), region, server), seconds.time())


def read_number(text, region):
    """The number that a server reads from a text in plain form. One with an exponent keeps its point under Wine."""
    if region.decimal != "." and re.fullmatch(r"-?\d+\.\d+", text):
        raise Refused
    return float(text)
