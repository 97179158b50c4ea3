-- Which faults in March? Reads a database made by to-sqlite:
--     sqlite3 -box DATABASE < faults.sql
-- A category is reported again with 0 when its faults are gone.
SELECT faults, count(*) AS reports, min(Datestamp) AS first
FROM fault
WHERE additional_information <> 0
    AND Datestamp BETWEEN '2022-03-01' AND '2022-04-01'
GROUP BY faults
ORDER BY first;
