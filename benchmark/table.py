"""The table of ./bench, and the arithmetic of its rows."""
import statistics
import sys


class Table:
    def __init__(self):
        self.rows = []

    def add(self, what, value, goal, unit="", at_least=False):
        if goal is None:
            verdict = ""
        else:
            verdict = "yes" if (value >= goal if at_least else value <= goal) else "NO"
        sign = "" if goal is None else (">= " if at_least else "<= ")
        self.rows.append((what, f"{value:.2f}{unit}", "" if goal is None else f"{sign}{goal:g}{unit}", verdict))
        say(f"{what}: {value:.2f}{unit}")

    def print(self):
        rows = [("measured", "value", "goal", "met"), *self.rows]
        widths = [max(len(row[i]) for row in rows) for i in range(4)]
        for row in rows:
            print("  ".join(cell.ljust(width) for cell, width in zip(row, widths)).rstrip())


def say(text):
    print("bench: " + text, file=sys.stderr, flush=True)


def median(rows, column):
    return statistics.median(row[column] for row in rows)


def in_turns(rounds, *sides):
    """Each side's rows of several rounds. The sides take turns within a round, forwards and backwards by turns."""
    results = [[] for _ in sides]
    order = list(zip(sides, results))
    for _ in range(rounds):
        for side, result in order:
            result.extend(side())
        order.reverse()
    return results
