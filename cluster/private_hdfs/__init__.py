"""The private HDFS: fetch, configure, start, stop, break. The verbs are in cli.py; README.md one folder up tells how to use them."""
