#!/usr/bin/env python3
"""Writes the example sales data set, sales.csv, deterministically.

Usage: python3 generate_sales.py [ROWS] [OUTPUT]   (default 60000 sales.csv)

Orders of a fictitious office-supplies company, 2021-2024. Columns:
region, country, product, channel, year, quarter, customer_id (six digits
with leading zeros: stays text), quantity, unit_price, amount. About one
row in a hundred lacks its channel, one in two hundred its unit price and
amount (a data-entry gap), so the empty-cell rules show. One product name
holds a comma, so the file shows CSV quoting too. The same seed always
gives the same file, byte for byte.
"""
import csv
import random
import sys

REGIONS = {
    "Europe": ["Germany", "France", "Italy", "Spain", "Netherlands", "Poland"],
    "Americas": ["United States", "Canada", "Mexico", "Brazil"],
    "Asia Pacific": ["Japan", "Australia", "India", "Singapore"],
    "Middle East & Africa": ["South Africa", "United Arab Emirates", "Egypt"],
}
REGION_WEIGHTS = [38, 34, 20, 8]
# name, list price, typical quantity
PRODUCTS = [
    ("Paper A4 500 sheets", 6.49, 20),
    ("Ballpoint pens (12)", 4.99, 10),
    ("Stapler", 12.90, 3),
    ("Desk lamp, LED", 39.00, 2),
    ("Office chair", 189.00, 1),
    ("Standing desk", 449.00, 1),
    ("Monitor 27\"", 279.00, 1),
    ("Notebook A5", 3.20, 15),
]
PRODUCT_WEIGHTS = [22, 18, 10, 9, 6, 3, 5, 27]
CHANNELS = ["Online", "Retail", "Partner"]
CHANNEL_WEIGHTS = [50, 32, 18]
YEARS = [2021, 2022, 2023, 2024]
YEAR_WEIGHTS = [20, 24, 27, 29]


def main():
    rows = int(sys.argv[1]) if len(sys.argv) > 1 else 60000
    output = sys.argv[2] if len(sys.argv) > 2 else "sales.csv"
    rng = random.Random(20240611)
    customers = ["%06d" % rng.randrange(1, 200000) for _ in range(4000)]
    with open(output, "w", newline="", encoding="utf-8") as f:
        writer = csv.writer(f, lineterminator="\n")
        writer.writerow(["region", "country", "product", "channel", "year", "quarter",
                         "customer_id", "quantity", "unit_price", "amount"])
        for _ in range(rows):
            region = rng.choices(list(REGIONS), REGION_WEIGHTS)[0]
            country = rng.choice(REGIONS[region])
            name, price, typical = rng.choices(PRODUCTS, PRODUCT_WEIGHTS)[0]
            channel = rng.choices(CHANNELS, CHANNEL_WEIGHTS)[0]
            year = rng.choices(YEARS, YEAR_WEIGHTS)[0]
            quarter = "Q%d" % rng.randint(1, 4)
            customer = rng.choice(customers)
            quantity = max(1, int(rng.expovariate(1.0 / typical)) + 1)
            # Partners get a discount, prices rise a little every year.
            unit_price = price * (1 + 0.03 * (year - 2021))
            if channel == "Partner":
                unit_price *= 0.88
            unit_price = round(unit_price * rng.uniform(0.97, 1.03), 2)
            amount = round(quantity * unit_price, 2)
            if rng.random() < 0.01:
                channel = ""
            unit_price_text, amount_text = "%.2f" % unit_price, "%.2f" % amount
            if rng.random() < 0.005:
                unit_price_text, amount_text = "", ""
            writer.writerow([region, country, name, channel, year, quarter, customer,
                             quantity, unit_price_text, amount_text])


if __name__ == "__main__":
    main()
